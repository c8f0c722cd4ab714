#include "page/parse/Top.h"

#include <algorithm>

namespace ctl
{

namespace
{
struct SummaryField
{
    std::string_view mLabel; ///< first word of the line that has it
    std::string_view mName;
    double TopReading::*mField;
};

constexpr SummaryField COUNTS[] = {
    {"Tasks", "total", &TopReading::mTasks},    {"Tasks", "running", &TopReading::mRunning},
    {"Tasks", "zombie", &TopReading::mZombies}, {"Cpu", "us", &TopReading::mUser},
    {"Cpu", "sy", &TopReading::mSystem},        {"Cpu", "ni", &TopReading::mNice},
    {"Cpu", "id", &TopReading::mIdle},          {"Cpu", "wa", &TopReading::mWait},
    {"Cpu", "st", &TopReading::mSteal},
};

constexpr SummaryField AMOUNTS[] = {
    {"Mem", "total", &TopReading::mMemoryTotal}, {"Mem", "free", &TopReading::mMemoryFree},
    {"Mem", "used", &TopReading::mMemoryUsed},   {"Swap", "total", &TopReading::mSwapTotal},
    {"Swap", "used", &TopReading::mSwapUsed},    {"Swap", "avail", &TopReading::mMemoryAvailable},
};

/** Kilobytes of a plain number in a line that begins with "MiB Mem" or the like. */
double UnitOfLine(std::string_view line)
{
    switch (line.empty() ? ' ' : line.front()) {
    case 'M':
        return line.starts_with("MiB") ? 1024.0 : 1.0;
    case 'G':
        return 1024.0 * 1024.0;
    default:
        return 1.0;
    }
}

std::string_view LabelOf(std::string_view head)
{
    for (const std::string_view label : {"Tasks", "Threads", "Cpu", "Mem", "Swap"}) {
        if (head.find(label) != std::string_view::npos) {
            return label;
        }
    }
    return {};
}

std::string_view StripEnd(std::string_view word)
{
    while (!word.empty() && (word.back() == ',' || word.back() == '.')) {
        word.remove_suffix(1);
    }
    return word;
}
} // namespace

void TopParser::TakeLine(std::string_view line)
{
    if (mColumns.HasHead()) {
        TakeProcess(line);
    } else if (line.find("PID") != std::string_view::npos && line.find("COMMAND") != std::string_view::npos) {
        mColumns.TakeHead(line);
    } else {
        TakeSummary(line);
    }
}

void TopParser::TakeSummary(std::string_view line)
{
    if (line.starts_with("top - ")) {
        TakeUptime(line);
    } else {
        mUnit = UnitOfLine(line);
        TakePairs(line);
    }
}

void TopParser::TakeUptime(std::string_view line)
{
    SplitFields(line, mWords);
    mReading.mClock = FindClock(mWords);
    constexpr std::string_view LOAD = "load average:";
    const auto found = line.find(LOAD);
    if (found == std::string_view::npos) {
        return;
    }
    SplitFields(line.substr(found + LOAD.size()), mWords);
    for (std::size_t index = 0; index < mReading.mLoad.size() && index < mWords.size(); ++index) {
        mReading.mLoad[index] = ReadNumber(StripEnd(mWords[index])).value_or(-1);
    }
}

/** A summary line: a label and a colon, then pairs of a number and what it counts. */
void TopParser::TakePairs(std::string_view line)
{
    const auto colon = line.find(':');
    if (colon == std::string_view::npos) {
        return;
    }
    const auto label = LabelOf(line.substr(0, colon));
    SplitFields(line.substr(colon + 1), mWords);
    for (std::size_t index = 0; index < mWords.size(); ++index) {
        const auto percent = mWords[index].find('%'); // "0.3%us,"
        if (percent != std::string_view::npos) {
            TakePair(label, mWords[index].substr(0, percent), StripEnd(mWords[index].substr(percent + 1)));
        } else if (index + 1 < mWords.size()) {
            TakePair(label, mWords[index], StripEnd(mWords[index + 1]));
        }
    }
}

void TopParser::TakePair(std::string_view label, std::string_view number, std::string_view name)
{
    const auto value = ReadNumber(number);
    for (const SummaryField& field : COUNTS) {
        if (value && field.mLabel == label && field.mName == name) {
            mReading.*field.mField = *value;
        }
    }
    if (const auto kilobytes = ReadKilobytes(number, mUnit)) {
        TakeAmount(label, name, *kilobytes);
    }
}

void TopParser::TakeAmount(std::string_view label, std::string_view name, double kilobytes)
{
    for (const SummaryField& field : AMOUNTS) {
        if (field.mLabel == label && field.mName == name) {
            mReading.*field.mField = kilobytes;
        }
    }
}

void TopParser::TakeProcess(std::string_view line)
{
    mColumns.TakeRow(line);
    const auto pid = ReadWhole(mColumns.Text("PID"));
    const auto command = RestFromField(line, mColumns.IndexOf("COMMAND"));
    if (!pid || command.empty()) {
        return;
    }
    if (mReading.mProcesses.size() == MOST_PROCESS_ROWS) {
        ++mReading.mRowsLeftOut;
        return;
    }
    ProcessRow& row = mReading.mProcesses.emplace_back();
    row.mPid = *pid;
    row.mCpu = mColumns.Number("%CPU", -1);
    row.mMemory = mColumns.Number("%MEM", -1);
    row.mResident = ReadKilobytes(mColumns.Text("RES"), 1).value_or(-1);
    row.mVirtual = ReadKilobytes(mColumns.Text("VIRT"), 1).value_or(-1);
    row.mCommand = command;
}

} // namespace ctl
