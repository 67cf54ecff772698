#include "test_support.h"

std::unique_ptr<QObject> NewSpectrumUpdateTest(), NewTraceSetTest(), NewDataSetExportTest(), NewPointNavigationTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewSpectrumUpdateTest, NewTraceSetTest, NewDataSetExportTest, NewPointNavigationTest)
