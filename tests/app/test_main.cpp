#include <QApplication>

#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewCommandLineTest();
std::unique_ptr<QObject> NewSnapshotTest();
std::unique_ptr<QObject> NewWindowTest();
std::unique_ptr<QObject> NewInteractionTest();

int main(int argc, char** argv) {
  auto commandLine = NewCommandLineTest();
  auto snapshot = NewSnapshotTest();
  auto window = NewWindowTest();
  auto interaction = NewInteractionTest();
  return tavrix::testing::RunTestObjects<QApplication>(argc, argv,
                                                       {commandLine.get(), snapshot.get(), window.get(), interaction.get()});
}
