#include <QGuiApplication>

#include "test_support.h"

std::unique_ptr<QObject> NewViewWindowTest(), NewPlotTest();
TAVRIX_TEST_MAIN(QGuiApplication, NewViewWindowTest, NewPlotTest)
