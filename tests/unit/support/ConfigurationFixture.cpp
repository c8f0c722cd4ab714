#include "support/ConfigurationFixture.h"

#include "config/ConfigurationMgr.h"
#include "counters/CounterMgr.h"
#include "platform/HelperFunctionInterface.h"
#include "support/HelperSeam.h"

#include <cstdlib>
#include <iostream>
#include <random>

void ConfigurationFixture::SetUp()
{
    LogFixture::SetUp();
    ForgetConfiguration();
    mConfig = ConfigurationMgr::GetInstance();
    ForgetLog();
}

void ConfigurationFixture::TearDown()
{
    ForgetConfiguration();
    GetHelperSeam() = {};
    GetSeams() = {};
    GetStore() = {};
    LogFixture::TearDown();
}

void ConfigurationFixture::ForgetConfiguration()
{
    const ConfigurationMgr* const config = ConfigurationMgr::mConfigMgr.exchange(nullptr);
    if (config == nullptr) {
        return;
    }
    delete config->mCPUCounterMgr;
    delete config->mMemoryCounterMgr;
    delete config->mDeadLockCounterMgr;
    delete config->mHelper;
    delete config;
}

unsigned GetRandomSeed()
{
    const char* const given = std::getenv("THSENTINEL_TEST_SEED");
    const unsigned seed =
        given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    std::cout << "THSENTINEL_TEST_SEED=" << seed << std::endl;
    return seed;
}
