#pragma once

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/app/program.h"

/// Tests that run the whole program: it works on fixed paths, so only in the sandbox.
class ProgramTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (std::getenv("CORVANE_SANDBOX") == nullptr) {
            GTEST_SKIP() << "works on the product's fixed paths: run it in tests/support/sandbox";
        }
    }
};
