#pragma once

#include "support/ConfigurationFixture.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

/** A test of the configuration, which looks at the diagnostic log and the console. */
class SettingsFixture : public ConfigurationFixture
{
protected:
    /** As before the first use of the program: no ConfigurationMgr, and no folder of the diagnostic log. */
    static void StartAnew();

    /** Makes every open of the diagnostic log fail, also for the superuser: its folder becomes a plain file.
     */
    static void SpoilLogFolder();
};

/** How much stands on the console when each line of the log that `action` writes is stamped, in bytes. */
std::vector<off_t> GetConsoleSizesAtLogLines(const std::function<void()>& action);

/** True while a thread of this process sleeps in the kernel. */
bool IsAsleep(pid_t thread);

/** Names the rows of a table of parameters by their `mName`. */
struct NameOfRow
{
    template <typename Row>
    std::string operator()(const testing::TestParamInfo<Row>& row) const
    {
        return row.param.mName;
    }
};
