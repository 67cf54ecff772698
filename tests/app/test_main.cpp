#include <QApplication>
#include <QTemporaryDir>

#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewCommandLineTest();
std::unique_ptr<QObject> NewSnapshotTest();
std::unique_ptr<QObject> NewWindowTest();
std::unique_ptr<QObject> NewInteractionTest();
std::unique_ptr<QObject> NewSettingsWindowTest();
std::unique_ptr<QObject> NewEndToEndTest();

int main(int argc, char** argv) {
  // A window that is given no settings file of its own keeps them here, never in the
  // settings of whoever runs the tests.
  QTemporaryDir settingsHome;
  qputenv("XDG_CONFIG_HOME", settingsHome.path().toUtf8());
  auto commandLine = NewCommandLineTest();
  auto snapshot = NewSnapshotTest();
  auto window = NewWindowTest();
  auto interaction = NewInteractionTest();
  auto settingsWindow = NewSettingsWindowTest();
  auto endToEnd = NewEndToEndTest();
  return tavrix::testing::RunTestObjects<QApplication>(argc, argv,
                                                       {commandLine.get(), snapshot.get(), window.get(), interaction.get(),
                                                        settingsWindow.get(), endToEnd.get()});
}
