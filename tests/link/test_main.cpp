#include "test_support.h"

std::unique_ptr<QObject> NewCaptureBlockTest(), NewFtpServerTest(), NewAcquisitionCycleTest();

int main(int argc, char** argv) {
  return tavrix::testing::RunTestFactories(argc, argv, {NewCaptureBlockTest, NewFtpServerTest, NewAcquisitionCycleTest});
}
