#include "test_support.h"

std::unique_ptr<QObject> NewEntryBoxTest();
TAVRIX_TEST_MAIN(QCoreApplication, NewEntryBoxTest)
