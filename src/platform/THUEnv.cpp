#include "platform/THUEnv.h"

#include "base/BoundedText.h"
#include "base/ProductPlaces.h"
#include "base/ProgramNames.h"
#include "thbase.h"

#include <ctime>

namespace
{
constexpr std::size_t LOG_FILE_NAME_SIZE = 64;
}

std::string GetTHBasePath()
{
    return PRODUCT_BASE;
}

std::string GetTHPath()
{
    return AppendPaths(GetTHBasePath(), PRODUCT_HOME);
}

std::string GetTHWebserverPath()
{
    return AppendPaths(GetTHBasePath(), PRODUCT_WEBSERVER);
}

std::string GetTHWebserverTempPath()
{
    return AppendPaths(GetTHWebserverPath(), PRODUCT_WEBSERVER_TEMP);
}

std::string GetTHTempPath()
{
    return AppendPaths(GetTHBasePath(), PRODUCT_TEMP);
}

std::string GetTHBinPath()
{
    return AppendPaths(GetTHPath(), "bin");
}

std::string GetTHPerfMonLogDirName()
{
    return SHORT_NAME;
}

std::string GetTHPerfMonBinName()
{
    return SHORT_NAME;
}

std::string GetSystemTempPath()
{
    return "/tmp";
}

std::string GetTxlogCfgPath()
{
    return AppendPaths(GetTHBinPath(), "txlogcfg");
}

std::string GetTHPerfMonLogPath()
{
    return AppendPaths(GetTHLogPath(), GetTHPerfMonLogDirName());
}

std::string GetTHPerfMonBinPath()
{
    return AppendPaths(GetTHBinPath(), GetTHPerfMonBinName());
}

std::string GetTHPerfMonLogFileName()
{
    const time_t now = time(nullptr);
    struct tm local = {};
    (void)T_localtime(&now, &local); // fills the record that it returns
    return FormatBounded(LOG_FILE_NAME_SIZE, LOG_FILE_NAME_TEXT, local.tm_mon + 1, local.tm_mday,
                         local.tm_year % 100);
}

std::string GetTHPerfMonLogFilePath()
{
    return AppendPaths(GetTHPerfMonLogPath(), GetTHPerfMonLogFileName());
}

std::string AppendBinExt(std::string name)
{
    return name;
}

std::string AppendPaths(std::string first, std::string second)
{
    return first + "/" + second;
}

std::string GetDoubleQuatedPath(std::string text)
{
    return "\"" + text + "\"";
}
