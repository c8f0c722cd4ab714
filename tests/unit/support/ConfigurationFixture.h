#pragma once

#include "support/LogFixture.h"

class ConfigurationMgr;

/**
 * A test with a ConfigurationMgr of its own, as built, and an empty diagnostic log. At its end the
 * object is freed and every seam, the store and the record of the system log are as at the start of the
 * program.
 */
class ConfigurationFixture : public LogFixture
{
protected:
    void SetUp() override;
    void TearDown() override;

    /** Frees the singleton, so that the next GetInstance builds it anew. */
    static void ForgetConfiguration();

    ConfigurationMgr* mConfig = nullptr; ///< null only when the test needs a host
};

/** Seed of a random test: THSENTINEL_TEST_SEED of the environment or a new one. It is printed. */
unsigned GetRandomSeed();
