#include <gtest/gtest.h>

#include <QApplication>

#include "tests/support/FreshHomePerTest.h"

// main() for tests of Qt code: one QApplication for the program, a fresh home for each test.
int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The tests compare Keyvane's English texts, which any other language would replace.
    qputenv("LC_ALL", "C");
    qunsetenv("LANGUAGE");
    QApplication application(argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new keyvane::testing::FreshHomePerTest);
    return RUN_ALL_TESTS();
}
