#include <QApplication>
#include <QTemporaryDir>

#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewCommandLineTest(), NewSnapshotTest(), NewWindowTest(), NewInteractionTest(),
    NewSettingsWindowTest(), NewEndToEndTest();

int main(int argc, char** argv) {
  // A window that is given no settings file of its own keeps them here, never in the
  // settings of whoever runs the tests.
  QTemporaryDir settingsHome;
  qputenv("XDG_CONFIG_HOME", settingsHome.path().toUtf8());
  const std::unique_ptr<QObject> t[] = {NewCommandLineTest(),    NewSnapshotTest(), NewWindowTest(), NewInteractionTest(),
                                        NewSettingsWindowTest(), NewEndToEndTest()};
  return tavrix::testing::RunTestObjects<QApplication>(argc, argv,
                                                       {t[0].get(), t[1].get(), t[2].get(), t[3].get(), t[4].get(), t[5].get()});
}
