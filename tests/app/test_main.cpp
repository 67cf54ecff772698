#include <QApplication>
#include <QTemporaryDir>

#include "test_support.h"

std::unique_ptr<QObject> NewCommandLineTest(), NewWindowTest(), NewEndToEndTest(), NewMeasureWindowTest();

int main(int argc, char** argv) {
  // A window given no settings file of its own keeps them here, never in the runner's settings.
  QTemporaryDir settingsHome;
  qputenv("XDG_CONFIG_HOME", settingsHome.path().toUtf8());
  return tavrix::testing::RunTestFactories<QApplication>(
      argc, argv, {NewCommandLineTest, NewWindowTest, NewEndToEndTest, NewMeasureWindowTest});
}
