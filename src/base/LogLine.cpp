#include "base/LogLine.h"

#include "CancellationHold.h"
#include "base/Console.h"
#include "config/THCrossPlatformMapping.h"
#include "platform/THUEnv.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace
{
std::size_t MeasureText(const char* format, va_list arguments)
{
    va_list measured;
    va_copy(measured, arguments);
    const int length = vsnprintf(nullptr, 0, format, measured);
    va_end(measured);
    return length > 0 ? static_cast<std::size_t>(length) : 0;
}

void WriteLine(mutex& unitMutex, bool hasStamp, const char* format, va_list arguments)
{
    LOG_GATE.mPrepare();
    // A cancellation in the middle would leave an open stream without its buffer, which the end of
    // the process would still write out.
    const CancellationHold uncancelled;
    const MutexHold hold(unitMutex);
    FILE* const file = fopen64(GetTHPerfMonLogFilePath().c_str(), "a+e");
    if (file == nullptr) {
        return;
    }
    const std::string stamp = hasStamp ? "" : GetCurrentTimeStamp();
    // The other units don't wait for this one, so the line must reach the file in one piece: the stream gets
    // a buffer that holds the whole of it, and the close writes it.
    std::vector<char> buffer(BUFSIZ + stamp.size() + MeasureText(format, arguments));
    (void)setvbuf(file, buffer.data(), _IOFBF, buffer.size());
    // A full disk loses lines, and the service goes on.
    (void)fputs(stamp.c_str(), file);
    (void)vfprintf(file, format, arguments);
    (void)fclose(file);
}

[[gnu::format(printf, 2, 3)]] void WriteAsItIs(mutex& unitMutex, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    WriteLine(unitMutex, true, format, arguments);
    va_end(arguments);
}
} // namespace

void WriteLogLine(mutex& unitMutex, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    WriteLine(unitMutex, false, format, arguments);
    va_end(arguments);
}

void WriteVerboseLine(mutex& unitMutex, const char* format, ...)
{
    if (!IsVerbose()) {
        return;
    }
    va_list arguments;
    va_start(arguments, format);
    WriteLine(unitMutex, false, format, arguments);
    va_end(arguments);
}

void WriteStampedLine(mutex& unitMutex, const std::string& text)
{
    WriteAsItIs(unitMutex, "%s\n", text.c_str());
}

void ReportMessage(mutex& unitMutex, MessageOrder order, const std::string& message)
{
    if (order == MessageOrder::ConsoleFirst) {
        ConsolePuts(message.c_str());
    }
    WriteLogLine(unitMutex, "%s\n", message.c_str());
    if (order == MessageOrder::LogFirst) {
        ConsolePuts(message.c_str());
    }
}

bool IsVerbose()
{
    return LOG_GATE.mIsVerbose();
}
