#include <memory>

#include "test_support.h"

std::unique_ptr<QObject> NewCaptureBlockTest();
std::unique_ptr<QObject> NewFtpServerTest();
std::unique_ptr<QObject> NewAcquisitionCycleTest();

int main(int argc, char** argv) {
  auto capture = NewCaptureBlockTest();
  auto ftp = NewFtpServerTest();
  auto cycle = NewAcquisitionCycleTest();
  return tavrix::testing::RunTestObjects(argc, argv, {capture.get(), ftp.get(), cycle.get()});
}
