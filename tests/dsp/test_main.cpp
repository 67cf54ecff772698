#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewSpectrumUpdateTest();
std::unique_ptr<QObject> NewTraceSetTest();
std::unique_ptr<QObject> NewDataSetExportTest();

int main(int argc, char** argv) {
  auto update = NewSpectrumUpdateTest();
  auto traces = NewTraceSetTest();
  auto exports = NewDataSetExportTest();
  return tavrix::testing::RunTestObjects(argc, argv, {update.get(), traces.get(), exports.get()});
}
