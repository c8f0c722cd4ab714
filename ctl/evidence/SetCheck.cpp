#include "evidence/SetCheck.h"

#include "evidence/CoreImage.h"
#include "evidence/DataScan.h"
#include "evidence/HeapDump.h"
#include "evidence/SectionCheck.h"
#include "evidence/ThreadDump.h"

#include <algorithm>
#include <cerrno>

namespace ctl
{
namespace
{
/** Text files up to this size are read whole even when only the ends are asked for. */
constexpr std::uint64_t SHORT_TEXT = std::uint64_t{4} * 1024 * 1024;
constexpr std::time_t READING_TIME = 5; ///< seconds that the tools of a reading may take, with a wide margin
constexpr int DEFAULT_READINGS = 50;
constexpr int DEFAULT_INTERVAL = 5;

/** A problem, and whether the end of a capture may still mend it. */
struct Problem
{
    std::string text;
    bool isDamage = true; ///< else it can't be told
    bool mayBeMended = false;
};

/** One check of one set. */
class SetCheck
{
public:
    SetCheck(const EvidenceTree& tree, const EvidenceSet& set, const CheckRules& rules, Activity& activity)
        : mTree(tree), mSet(set), mRules(rules), mActivity(activity)
    {}

    SetReport Run()
    {
        const OpenedFile folder = OpenSetFolder(mTree, mSet);
        if (!folder.IsOpen()) {
            mProblems.push_back({folder.failure, folder.error == ENOENT, false});
            return Conclude();
        }
        if (mSet.files.empty()) {
            AddDamage(FileKind::MemoryPerf,
                      mSet.label.empty() ? "the folder is empty" : "its files are gone");
            return Conclude();
        }
        mSampling = FindSampling(folder.file.Get());
        CheckKinds();
        for (const EvidenceFile& file : mSet.files) {
            CheckFile(folder.file.Get(), file);
        }
        if (mSet.isHalfDeleted) {
            mProblems.push_back(
                {"a deletion of this set was interrupted; prune --delete ends it", true, false});
        }
        return Conclude();
    }

private:
    void AddDamage(FileKind kind, const std::string& text)
    {
        mProblems.push_back({text, true, MayStillCome(kind)});
    }

    /**
     * What the sampling tools were asked for when this set was taken; the plan of now where they weren't run.
     */
    SamplingLine FindSampling(int folder) const
    {
        for (const FileKind kind : {FileKind::Iostat, FileKind::Mpstat}) {
            const EvidenceFile* const file = mSet.Find(kind);
            const OpenedFile opened =
                file != nullptr && file->IsPlain() ? OpenEvidenceFile(folder, *file) : OpenedFile();
            if (!opened.IsOpen()) {
                continue;
            }
            SectionScanner scanner;
            scanner.Take(ReadAt(opened.file.Get(), 0, HEAD_OF_A_TEXT));
            const SectionFile found = scanner.Finish();
            const auto line = found.sections.empty() ? std::nullopt
                                                     : ParseSamplingLine(GetToolLine(found.sections.front()));
            if (line) {
                return *line;
            }
        }
        return {mRules.plan.interval.value_or(DEFAULT_INTERVAL), mRules.plan.readings.value_or(UNKNOWN)};
    }

    std::optional<int> GetReadings() const
    {
        return mSampling.count == UNKNOWN ? std::nullopt : std::optional<int>(mSampling.count);
    }

    bool IsJava() const
    {
        return IsJavaName(mSet.process) || mSet.Find(FileKind::HeapDump) != nullptr ||
               mSet.Find(FileKind::ThreadDump) != nullptr;
    }

    /** Names the kinds that the set lacks. */
    void CheckKinds()
    {
        if (GetReadings() != 0) {
            Demand(FileKind::MemoryPerf);
        }
        if (mRules.plan.wantsNetwork) {
            Demand(FileKind::Netstat);
        }
        if (mRules.plan.wantsDisk) {
            Demand(FileKind::Iostat);
            Demand(FileKind::Mpstat);
        }
        Demand(FileKind::ProcessData);
        const bool isJava = IsJava();
        // One half of a Java dump without the other is short, whatever the settings say now.
        if (mRules.plan.wantsDump || mSet.Find(FileKind::HeapDump) || mSet.Find(FileKind::ThreadDump)) {
            for (const FileKind kind : {FileKind::HeapDump, FileKind::ThreadDump}) {
                if (isJava) {
                    Demand(kind);
                }
            }
        }
        if (mRules.plan.wantsDump && !isJava) {
            Demand(FileKind::Core);
        }
    }

    void Demand(FileKind kind)
    {
        if (mSet.Find(kind) == nullptr) {
            AddDamage(kind, std::string(GetKindName(kind)) + ": is missing");
        }
    }

    /**
     * Seconds since the set was taken. A stamp of later than now comes from a host of another time zone, or
     * from a clock that was put back: then the last change of a file has to do.
     */
    std::time_t GetAge() const
    {
        const std::time_t age = mActivity.GetNow() - mSet.time;
        return age < 0 && mSet.HasFiles() ? mActivity.GetNow() - mSet.sums.modified : age;
    }

    /** True while the capture of a kind may still be at work, so that what is short may yet come. */
    bool MayStillCome(FileKind kind) const
    {
        const std::time_t age = GetAge();
        if (age < STARTING_TIME) { // below 0 where a clock was put back
            return true;
        }
        const int readings = GetReadings().value_or(DEFAULT_READINGS);
        const bool isSampled =
            kind == FileKind::MemoryPerf || kind == FileKind::Iostat || kind == FileKind::Mpstat;
        if (isSampled && age < static_cast<std::time_t>(readings) * mSampling.interval) {
            return true;
        }
        return mActivity.IsBeingWritten(mTree, mSet, kind) || IsBetweenReadings(kind, age, readings);
    }

    /** The daemon sleeps between two readings; no tool of it runs then. */
    bool IsBetweenReadings(FileKind kind, std::time_t age, int readings) const
    {
        const EvidenceFile* const file = mSet.Find(kind);
        return kind == FileKind::MemoryPerf && file != nullptr &&
               age < static_cast<std::time_t>(readings) * (mSampling.interval + READING_TIME) &&
               mActivity.GetNow() - file->modified < mSampling.interval + READING_TIME &&
               mActivity.HasDaemon();
    }

    void CheckFile(int folder, const EvidenceFile& file)
    {
        if (!file.IsPlain()) {
            mProblems.push_back(
                {file.name + ": " + std::string(file.obstacle) + " and is not read", true, false});
            return;
        }
        const OpenedFile opened = OpenEvidenceFile(folder, file);
        if (!opened.IsOpen()) {
            mProblems.push_back({file.name + ": " + opened.failure, opened.error == ENOENT, false});
            return;
        }
        const auto bytes = static_cast<std::uint64_t>(opened.status.st_size);
        if (bytes == 0) {
            AddDamage(file.kind, file.name + ": holds no byte");
            return;
        }
        CheckContents(opened.file.Get(), bytes, file);
        // The large kinds show their progress while they are read.
        if (mRules.progress && file.kind != FileKind::Core && file.kind != FileKind::HeapDump) {
            mRules.progress(bytes);
        }
    }

    void ShowProgress(std::string_view block) const
    {
        if (mRules.progress) {
            mRules.progress(block.size());
        }
    }

    void CheckContents(int opened, std::uint64_t bytes, const EvidenceFile& file)
    {
        switch (file.kind) {
        case FileKind::Core:
            CheckCore(opened, bytes, file);
            break;
        case FileKind::HeapDump:
            AddIfAny(file, mRules.depth == Depth::Whole
                               ? CheckWholeHeapDump(opened, bytes,
                                                    [this](std::string_view block) { ShowProgress(block); })
                               : CheckHeapDumpRecords(opened, bytes));
            break;
        case FileKind::ThreadDump:
            CheckText(opened, bytes, file);
            break;
        default:
            CheckSectionsOf(opened, bytes, file);
        }
    }

    void AddIfAny(const EvidenceFile& file, const std::string& damage)
    {
        if (!damage.empty()) {
            AddDamage(file.kind, file.name + ": " + damage);
        }
    }

    void CheckCore(int opened, std::uint64_t bytes, const EvidenceFile& file)
    {
        const CoreReport core = CheckCoreHead(opened, bytes);
        AddIfAny(file, core.damage);
        if (!core.mismatch.empty()) {
            mReport.hasWarning = true;
            mReport.problems.push_back(file.name + ": " + core.mismatch);
        }
        for (const std::string& note : core.notes) {
            mReport.notes.push_back(file.name + ": " + note);
        }
        if (mRules.depth == Depth::Whole) {
            AddUnreadable(file, ReadData(opened, bytes, [this](std::uint64_t, std::string_view block) {
                              ShowProgress(block);
                          }));
        }
    }

    void AddUnreadable(const EvidenceFile& file, const DataScan& scan)
    {
        if (!scan.failure.empty()) {
            AddDamage(file.kind,
                      file.name + ": " + scan.failure + " at byte " + std::to_string(scan.bytesRead));
        }
    }

    bool IsReadWhole(std::uint64_t textBytes) const
    {
        return mRules.depth != Depth::Ends || textBytes <= SHORT_TEXT;
    }

    /** A text that was not read whole can't be called complete, nor one that may still grow. */
    void RemarkOnEnds(const EvidenceFile& file)
    {
        if (MayStillCome(file.kind)) {
            AddDamage(file.kind, file.name + ": may still be written");
            return;
        }
        mReport.isReadInPart = true;
        mProblems.push_back(
            {file.name + ": only its beginning and its end were read; verify reads it all", false, false});
    }

    void CheckText(int opened, std::uint64_t bytes, const EvidenceFile& file)
    {
        if (IsReadWhole(bytes)) {
            AddIfAny(file, CheckThreadDump(opened, bytes));
        } else {
            AddIfAny(file, CheckThreadDumpEnds(opened, bytes));
            RemarkOnEnds(file);
        }
    }

    void CheckSectionsOf(int opened, std::uint64_t bytes, const EvidenceFile& file)
    {
        const bool isWhole = IsReadWhole(bytes);
        const std::optional<int> readings = file.kind == FileKind::MemoryPerf ? GetReadings() : 1;
        const SectionReport sections = isWhole
                                           ? CheckSectionFile(opened, bytes, file.kind, mSet.pid, readings)
                                           : CheckSectionEnds(opened, bytes, file.kind, mSet.pid);
        if (!isWhole) {
            RemarkOnEnds(file);
        }
        for (const std::string& damage : sections.damages) {
            AddDamage(file.kind, file.name + ": " + damage);
        }
        for (const std::string& note : sections.notes) {
            mReport.notes.push_back(file.name + ": " + note);
        }
    }

    SetReport Conclude()
    {
        if (mProblems.empty() && !mRules.plan.readings) {
            mProblems.push_back(
                {"what is here is whole; whether all captures are here can't be told, since the "
                 "settings aren't known",
                 false, false});
        }
        bool isDamaged = false;
        bool isMended = !mProblems.empty(); // by the time that the captures end
        bool isUnknown = false;
        for (Problem& problem : mProblems) {
            isDamaged = isDamaged || problem.isDamage;
            isUnknown = isUnknown || !problem.isDamage;
            isMended = isMended && problem.mayBeMended;
            mReport.isUnderWay = mReport.isUnderWay || problem.mayBeMended;
            mReport.problems.push_back(std::move(problem.text));
        }
        if (isMended) {
            mReport.state = SetState::InProgress;
        } else if (isDamaged) {
            mReport.state = SetState::Incomplete;
        } else {
            mReport.state = isUnknown ? SetState::Unknown : SetState::Complete;
        }
        return std::move(mReport);
    }

    static constexpr int UNKNOWN = -1;
    static constexpr std::size_t HEAD_OF_A_TEXT = 4096;

    const EvidenceTree& mTree;
    const EvidenceSet& mSet;
    const CheckRules& mRules;
    Activity& mActivity;
    SamplingLine mSampling;
    std::vector<Problem> mProblems;
    SetReport mReport;
};
} // namespace

const char* GetStateName(SetState state)
{
    switch (state) {
    case SetState::Complete:
        return "complete";
    case SetState::Incomplete:
        return "incomplete";
    case SetState::InProgress:
        return "in-progress";
    default:
        return "unknown";
    }
}

SetReport CheckSet(const EvidenceTree& tree, const EvidenceSet& set, const CheckRules& rules,
                   Activity& activity)
{
    return SetCheck(tree, set, rules, activity).Run();
}

} // namespace ctl
