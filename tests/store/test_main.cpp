#include <QCoreApplication>

#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewSettingsTest();
std::unique_ptr<QObject> NewModemsTest();

int main(int argc, char** argv) {
  auto settings = NewSettingsTest();
  auto modems = NewModemsTest();
  return tavrix::testing::RunTestObjects(argc, argv, {settings.get(), modems.get()});
}
