#include "page/read/SetReader.h"

#include "base/TimeText.h"
#include "evidence/SectionFile.h"
#include "evidence/SetLoader.h"
#include "page/read/CoreStacks.h"
#include "page/read/MemoryReader.h"

#include <algorithm>

namespace ctl
{

namespace
{
/** Sets of two counters that breached in one pass say nothing about growth. */
constexpr Wall NEAREST_EARLIER = 30;

/** Passes the lines of one section to a parser that has a default state. */
template <typename Parser>
void FeedSection(int file, const Section& section, Parser& parser)
{
    (void)ForEachLine(file, section.offset, section.bytes, [&](std::string_view line) {
        parser.TakeLine(line);
    }); // a short end was noted by the scan
}

/** "Linux 6.1.0 (alpha) 11/21/26 _x86_64_ (2 CPU)", as sysstat begins its output. */
void TakeHostLine(std::string_view line, ReportData& data)
{
    const auto name = line.find(" (");
    const auto end = line.find(')', name);
    if (!line.starts_with("Linux ") || end == std::string_view::npos) {
        return;
    }
    data.mKernel = line.substr(0, name);
    data.mHost = line.substr(name + 2, end - name - 2);
    const auto count = line.rfind('(');
    if (count != std::string_view::npos && count > end) {
        const auto text = line.substr(count + 1);
        data.mProcessors = ReadWhole(text.substr(0, text.find(' '))).value_or(0);
    }
}

void ReadMemory(int file, const SectionFile& sections, ReportData& data, const ProgressTaker& progress)
{
    MemoryReader reader(data);
    for (const Section& section : sections.sections) {
        const LineTaker take = reader.Begin(GetToolLine(section));
        if (take) {
            (void)ForEachLine(file, section.offset, section.bytes, take);
            reader.End();
        }
        progress(section.bytes);
    }
}

void ReadNetwork(int file, const SectionFile& sections, ReportData& data, const ProgressTaker& progress)
{
    bool hasAll = false;
    for (const Section& section : sections.sections) {
        const SocketForm form = FormOf(section.command);
        if (form == SocketForm::All || (form == SocketForm::CloseWait && !hasAll)) {
            SocketParser parser(data.mPid);
            FeedSection(file, section, parser);
            hasAll = hasAll || form == SocketForm::All;
            data.mSockets = parser.Get();
        } else if (form == SocketForm::Statistics) {
            NetworkTroubleParser parser;
            FeedSection(file, section, parser);
            data.mNetworkTroubles = parser.Get();
        }
        progress(section.bytes);
    }
}

/** The first report covers the time since the machine's start and says nothing about the set. */
void ReadDisks(int file, const SectionFile& sections, ReportData& data, const ProgressTaker& progress)
{
    for (const Section& section : sections.sections) {
        IostatParser parser;
        (void)ForEachLine(file, section.offset, section.bytes, [&](std::string_view line) {
            TakeHostLine(line, data);
            parser.TakeLine(line);
        });
        WallClock clock(data.mWall);
        const auto& samples = parser.Get();
        for (std::size_t index = 0; index < samples.size(); ++index) {
            const Wall wall = clock.At(samples[index].mClock);
            for (const DiskRow& row : samples[index].mDevices) {
                if (index > 0) {
                    data.mDisks[row.mDevice].push_back({wall, row});
                }
            }
        }
        if (samples.size() == 1) {
            data.mNotes.emplace_back(
                "iostat took one sample alone, which covers the time since the machine's "
                "start: there are no disk figures of the breach.");
        }
        progress(section.bytes);
    }
}

void ReadProcessors(int file, const SectionFile& sections, ReportData& data, const ProgressTaker& progress)
{
    for (const Section& section : sections.sections) {
        MpstatParser parser;
        (void)ForEachLine(file, section.offset, section.bytes, [&](std::string_view line) {
            TakeHostLine(line, data);
            parser.TakeLine(line);
        });
        WallClock clock(data.mWall);
        for (const ProcessorSample& sample : parser.Get()) {
            data.mProcessorPoints.push_back({clock.At(sample.mClock), sample});
        }
        progress(section.bytes);
    }
}

/** The last section of a kind counts; a file that two captures wrote in one second has two. */
MappingReport ReadMappings(int file, const SectionFile& sections)
{
    MappingReport result;
    for (const Section& section : sections.sections) {
        const auto tool = GetToolLine(section);
        if (tool.starts_with("cat ") && tool.find("/smaps") != std::string_view::npos) {
            SmapsParser parser;
            FeedSection(file, section, parser);
            if (parser.Finish().mTotal.mCount > 0) {
                return parser.Finish();
            }
        } else if (tool.starts_with("pmap")) {
            PmapParser parser;
            FeedSection(file, section, parser);
            result = parser.Get();
        }
    }
    return result;
}

void ReadProcess(int file, const SectionFile& sections, ReportData& data, const ProgressTaker& progress)
{
    data.mMappings = ReadMappings(file, sections);
    for (const Section& section : sections.sections) {
        const auto tool = GetToolLine(section);
        if (tool.starts_with("cat ") && tool.find("/status") != std::string_view::npos) {
            FeedSection(file, section, data.mStatus);
        } else if (tool.starts_with("gstack")) {
            StackParser parser;
            FeedSection(file, section, parser);
            data.mStacks = parser.Finish();
            data.mStackSource = data.mStacks.mThreadCount > 0 ? "the stack listing of the capture" : "";
        }
        progress(section.bytes);
    }
}

void ReadThreadDump(int file, std::uint64_t bytes, ReportData& data)
{
    JavaThreadParser parser;
    (void)ForEachLine(file, 0, bytes, [&](std::string_view line) { parser.TakeLine(line); });
    data.mJava = parser.Finish();
    if (!data.mJava.mHasHead) {
        data.mNotes.emplace_back("The thread dump doesn't begin as one.");
    } else if (!data.mJava.mHasEnd) {
        data.mNotes.emplace_back(
            "The thread dump ends before its end: threads and deadlocks may be missing.");
    }
}

struct SectionReader
{
    FileKind mKind;
    void (*mRead)(int file, const SectionFile& sections, ReportData& data, const ProgressTaker& progress);
};

constexpr SectionReader SECTION_READERS[] = {
    {FileKind::MemoryPerf, ReadMemory}, {FileKind::Netstat, ReadNetwork},     {FileKind::Iostat, ReadDisks},
    {FileKind::Mpstat, ReadProcessors}, {FileKind::ProcessData, ReadProcess},
};

void ReadSections(const OpenedFile& opened, const EvidenceFile& listed, const SectionReader& reader,
                  ReportData& data, const ProgressTaker& progress)
{
    const SectionFile sections =
        ScanSections(opened.file.Get(), static_cast<std::uint64_t>(opened.status.st_size));
    if (!sections.failure.empty()) {
        data.mNotes.push_back(listed.name + ": " + sections.failure + ".");
    }
    if (sections.isCut) {
        data.mNotes.push_back(listed.name + ": has more sections than were read.");
    }
    reader.mRead(opened.file.Get(), sections, data, progress);
}

void ReadFile(int folder, const EvidenceFile& listed, ReportData& data, const ProgressTaker& progress)
{
    const auto reader = std::find_if(std::begin(SECTION_READERS), std::end(SECTION_READERS),
                                     [&](const SectionReader& row) { return row.mKind == listed.kind; });
    if (reader == std::end(SECTION_READERS) && listed.kind != FileKind::ThreadDump) {
        return;
    }
    const OpenedFile opened = OpenEvidenceFile(folder, listed);
    if (!opened.IsOpen()) {
        data.mFiles.back().mObstacle = opened.failure;
    } else if (listed.kind == FileKind::ThreadDump) {
        ReadThreadDump(opened.file.Get(), static_cast<std::uint64_t>(opened.status.st_size), data);
    } else {
        ReadSections(opened, listed, *reader, data, progress);
    }
}

/** Where no stack listing was captured, the core has the threads. */
void ReadCore(int folder, const EvidenceSet& set, ReportData& data)
{
    const EvidenceFile* const core = set.Find(FileKind::Core);
    if (data.mStacks.mThreadCount > 0 || core == nullptr || core->bytes == 0) {
        return;
    }
    const OpenedFile opened = OpenEvidenceFile(folder, *core);
    if (!opened.IsOpen()) {
        return;
    }
    CoreStacks stacks = ReadCoreStacks(opened.file.Get(), static_cast<std::uint64_t>(opened.status.st_size));
    data.mStacks = std::move(stacks.mReport);
    data.mStackSource = "the core image";
    data.mStackFailure = std::move(stacks.mFailure);
}

/** The latest set of the same process that is clearly earlier, if there is one with a memory map. */
std::optional<EvidenceSet> FindEarlier(const EvidenceTree& tree, const EvidenceSet& set)
{
    for (std::size_t place = tree.sets.size(); place > 0; --place) { // they are sorted by time
        const SetRecord& other = tree.sets.GetRecord(place - 1);
        if (other.hasProcessData && other.pid == set.pid && other.time < set.time - NEAREST_EARLIER &&
            tree.sets.GetProcess(place - 1) == set.process) {
            EvidenceSet found = LoadSet(tree, place - 1);
            if (found.Find(FileKind::ProcessData) != nullptr) {
                return found;
            }
        }
    }
    return std::nullopt;
}

void ReadEarlier(const EvidenceTree& tree, const EvidenceSet& set, ReportData& data)
{
    const std::optional<EvidenceSet> earlier = FindEarlier(tree, set);
    if (!earlier) {
        return;
    }
    const OpenedFile folder = OpenSetFolder(tree, *earlier);
    const OpenedFile opened = folder.IsOpen()
                                  ? OpenEvidenceFile(folder.file.Get(), *earlier->Find(FileKind::ProcessData))
                                  : OpenedFile();
    if (!opened.IsOpen()) {
        return;
    }
    const SectionFile sections =
        ScanSections(opened.file.Get(), static_cast<std::uint64_t>(opened.status.st_size));
    MappingReport mappings = ReadMappings(opened.file.Get(), sections);
    if (mappings.mTotal.mCount > 0) {
        data.mEarlier = EarlierMap{earlier->GetId(), ToWall(earlier->time), std::move(mappings)};
    }
}

ReportData Begin(const EvidenceTree& tree, const EvidenceSet& set, std::time_t now)
{
    ReportData data;
    data.mProcess = set.process;
    data.mPid = set.pid;
    data.mResource = set.resource;
    data.mNumber = set.number;
    data.mSetId = set.GetId();
    data.mPath = tree.GetPath(set);
    data.mWall = ToWall(set.time);
    data.mMadeAt = ToWall(now);
    return data;
}
} // namespace

ReportData ReadSet(const EvidenceTree& tree, const EvidenceSet& set, std::time_t now,
                   const ProgressTaker& progress)
{
    ReportData data = Begin(tree, set, now);
    const OpenedFile folder = OpenSetFolder(tree, set);
    if (!folder.IsOpen()) {
        data.mNotes.push_back("The folder of the set can't be read: " + folder.failure + ".");
    }
    for (const EvidenceFile& listed : set.files) {
        data.mFiles.push_back(
            {listed.name, GetKindName(listed.kind), listed.bytes, std::string(listed.obstacle)});
        if (folder.IsOpen() && listed.IsPlain()) {
            ReadFile(folder.file.Get(), listed, data, progress);
        }
    }
    if (folder.IsOpen()) {
        ReadCore(folder.file.Get(), set, data);
    }
    ReadEarlier(tree, set, data);
    return data;
}

} // namespace ctl
