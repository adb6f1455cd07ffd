#include <gtest/gtest.h>

#include <memory>

#include "tests/support/TemporaryHome.h"

namespace {

// Every test starts with an empty home of its own, so no test sees another's settings.
class FreshHomePerTest : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override {
        home_ = std::make_unique<keyvane::testing::TemporaryHome>();
    }
    void OnTestEnd(const ::testing::TestInfo&) override { home_.reset(); }

    std::unique_ptr<keyvane::testing::TemporaryHome> home_;
};

}  // namespace

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new FreshHomePerTest);
    return RUN_ALL_TESTS();
}
