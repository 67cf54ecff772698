#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewCaptureBlockTest(), NewFtpServerTest(), NewAcquisitionCycleTest();

int main(int argc, char** argv) {
  const auto capture = NewCaptureBlockTest(), ftp = NewFtpServerTest(), cycle = NewAcquisitionCycleTest();
  return tavrix::testing::RunTestObjects(argc, argv, {capture.get(), ftp.get(), cycle.get()});
}
