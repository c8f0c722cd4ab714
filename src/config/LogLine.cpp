#include "config/LogLine.h"

#include "config/ConfigurationMgr.h"
#include "config/THCrossPlatformMapping.h"
#include "platform/Console.h"
#include "platform/THUEnv.h"

#include <cstdarg>
#include <vector>

namespace
{
// The folder of the log is prepared when the singleton is built, so that has to come before the first line.
mutex& PrepareLog(mutex& unitMutex)
{
    (void)ConfigurationMgr::GetInstance(); // for its effect
    return unitMutex;
}
} // namespace

LogLine::LogLine(mutex& unitMutex)
    : mHold(PrepareLog(unitMutex)), mFile(fopen64(GetTHPerfMonLogFilePath().c_str(), "a+"))
{}

void LogLine::Write(const char* format, ...)
{
    if (mFile == nullptr) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    va_list measured;
    va_copy(measured, arguments);
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    // The other units don't wait for this one, so the line must reach the file in one piece: the stream gets
    // a buffer that holds the whole of it, and the close writes it.
    std::vector<char> buffer(BUFSIZ + static_cast<std::size_t>(length > 0 ? length : 0));
    (void)setvbuf(mFile, buffer.data(), _IOFBF, buffer.size());
    // A full disk loses lines, and the service goes on.
    (void)vfprintf(mFile, format, arguments);
    va_end(arguments);
    (void)fclose(mFile);
}

void LogAndPrint(mutex& unitMutex, const std::string& message)
{
    LogLine{unitMutex}.Write("%s%s\n", GetCurrentTimeStamp().c_str(), message.c_str());
    ConsolePuts(message.c_str());
}

bool IsVerbose()
{
    return ConfigurationMgr::GetInstance()->mVerbose == 1;
}
