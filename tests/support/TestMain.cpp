#include <gtest/gtest.h>

#include "tests/support/FreshHomePerTest.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new keyvane::testing::FreshHomePerTest);
    return RUN_ALL_TESTS();
}
