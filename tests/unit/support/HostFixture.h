#pragma once

#include "support/LogFixture.h"

/**
 * A test that needs the fixed paths: it runs on an isolated host, where it finds the product's folders,
 * empty, and is skipped where there can be none.
 */
class HostFixture : public LogFixture
{
protected:
    void SetUp() override;
    void TearDown() override {}
};

/**
 * For a test of another fixture that needs the fixed paths: makes the product's folders. Off an isolated host
 * the test is skipped here, and the runner runs it again on one. Call it first, and return when
 * testing::Test::IsSkipped().
 */
void RequireHost();
