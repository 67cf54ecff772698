#include <QGuiApplication>

#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewViewWindowTest();
std::unique_ptr<QObject> NewPlotTest();

int main(int argc, char** argv) {
  auto view = NewViewWindowTest();
  auto plot = NewPlotTest();
  return tavrix::testing::RunTestObjects<QGuiApplication>(argc, argv, {view.get(), plot.get()});
}
