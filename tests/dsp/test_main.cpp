#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewSpectrumUpdateTest();
std::unique_ptr<QObject> NewTraceSetTest();
std::unique_ptr<QObject> NewDataSetExportTest();
std::unique_ptr<QObject> NewPointNavigationTest();

int main(int argc, char** argv) {
  auto update = NewSpectrumUpdateTest();
  auto traces = NewTraceSetTest();
  auto exports = NewDataSetExportTest();
  auto navigation = NewPointNavigationTest();
  return tavrix::testing::RunTestObjects(argc, argv, {update.get(), traces.get(), exports.get(), navigation.get()});
}
