#include <QApplication>
#include <QTemporaryDir>

#include "test_support.h"

std::unique_ptr<QObject> NewCommandLineTest(), NewWindowTest(), NewEndToEndTest(), NewMeasureWindowTest(), NewHistoryWindowTest();

int main(int argc, char** argv) {
  // A window given no settings file of its own keeps them here, and its recordings, never in
  // the runner's own.
  QTemporaryDir settingsHome, dataHome;
  qputenv("XDG_CONFIG_HOME", settingsHome.path().toUtf8());
  qputenv("XDG_DATA_HOME", dataHome.path().toUtf8());
  return tavrix::testing::RunTestFactories<QApplication>(
      argc, argv, {NewCommandLineTest, NewWindowTest, NewEndToEndTest, NewMeasureWindowTest, NewHistoryWindowTest});
}
