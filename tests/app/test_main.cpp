#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewCommandLineTest();
std::unique_ptr<QObject> NewSnapshotTest();

int main(int argc, char** argv) {
  auto commandLine = NewCommandLineTest();
  auto snapshot = NewSnapshotTest();
  return tavrix::testing::RunTestObjects(argc, argv, {commandLine.get(), snapshot.get()});
}
