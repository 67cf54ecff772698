#include "test_support.h"

std::unique_ptr<QObject> NewFtpServerTest(), NewAcquisitionCycleTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewFtpServerTest, NewAcquisitionCycleTest)
