#pragma once

#include <gtest/gtest.h>

#include <memory>

#include "tests/support/TemporaryHome.h"

namespace keyvane::testing {

// Every test starts with an empty home of its own, so no test sees another's settings.
class FreshHomePerTest : public ::testing::EmptyTestEventListener {
    void OnTestStart(const ::testing::TestInfo&) override {
        home_ = std::make_unique<TemporaryHome>();
    }
    void OnTestEnd(const ::testing::TestInfo&) override { home_.reset(); }

    std::unique_ptr<TemporaryHome> home_;
};

}  // namespace keyvane::testing
