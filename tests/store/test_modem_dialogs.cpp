// Placeholder until the dialog tests are written.
int main() { return 0; }
