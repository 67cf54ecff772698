#include "test_support.h"

std::unique_ptr<QObject> NewSettingsTest(), NewModemsTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewSettingsTest, NewModemsTest)
