#include "test_support.h"

std::unique_ptr<QObject> NewCaptureBlockTest(), NewFtpServerTest(), NewAcquisitionCycleTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewCaptureBlockTest, NewFtpServerTest, NewAcquisitionCycleTest)
