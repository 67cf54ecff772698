#include "test_support.h"

std::unique_ptr<QObject> NewCaptureBlockTest(), NewSpectrumUpdateTest(), NewTraceSetTest(), NewDataSetExportTest(),
    NewPointNavigationTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewCaptureBlockTest, NewSpectrumUpdateTest, NewTraceSetTest, NewDataSetExportTest,
                 NewPointNavigationTest)
