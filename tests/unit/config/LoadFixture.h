#pragma once

#include "config/ConfigurationMgr.h"
#include "config/SettingsFixture.h"

/** A test of whole loads: the store has an evidence path, which is all that a load needs. */
class LoadFixture : public SettingsFixture
{
protected:
    void SetUp() override;

    /** Loads, keeping result and console; the log then holds the lines of this load alone. */
    void Load();

    /** Sets a key of the store and loads. */
    void Load(const std::string& key, const std::string& value);

    /** What a load that goes through logs. */
    struct LogOfLoad
    {
        Lines mBeforeJdkHome = {};
        Lines mAfterEvidencePath = {};
        int mPollInterval = 600;
        bool mIsReverted = false;
    };
    Lines GetLog(const LogOfLoad& load) const;

    /** The lines of the log that hold `text`. */
    static Lines GetLogLinesWith(const std::string& text);

    std::string mFolder; ///< THHS_EVIDENCE_PATH
    int mResult = -1;
    std::string mConsole;
};

constexpr char READING[] = "Reading the configuration from Tarnhaven configuration.";
constexpr char NO_JDK_HOME[] = "JDK Home is not set. Java stack dump will not be captured.";
constexpr char SUCCESS[] = "Configuration file successfully read.";
constexpr char WARNING[] =
    "Warning, invalid value found in Tarnhaven configuration for thsentinel. Reverted value to "
    "default. Please refer the log file for details.";
