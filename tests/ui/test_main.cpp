#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewEntryBoxTest();

int main(int argc, char** argv) {
  auto entryBoxes = NewEntryBoxTest();
  return tavrix::testing::RunTestObjects(argc, argv, {entryBoxes.get()});
}
