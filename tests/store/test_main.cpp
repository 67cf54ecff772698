#include <QApplication>

#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewSettingsTest();
std::unique_ptr<QObject> NewModemsTest();
std::unique_ptr<QObject> NewModemDialogsTest();

int main(int argc, char** argv) {
  auto settings = NewSettingsTest();
  auto modems = NewModemsTest();
  auto dialogs = NewModemDialogsTest();
  return tavrix::testing::RunTestObjects<QApplication>(argc, argv, {settings.get(), modems.get(), dialogs.get()});
}
