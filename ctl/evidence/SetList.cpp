#include "evidence/SetList.h"

#include <algorithm>
#include <tuple>

namespace ctl
{
namespace
{
/** Thread dumps come later. */
void NoteFiles(const EvidenceSet& set, SetRecord& record)
{
    const EvidenceFile* first = nullptr;
    for (const EvidenceFile& file : set.files) {
        record.hasCore = record.hasCore || file.kind == FileKind::Core;
        record.hasHeapDump = record.hasHeapDump || file.kind == FileKind::HeapDump;
        record.hasProcessData = record.hasProcessData || file.kind == FileKind::ProcessData;
        if (first == nullptr || std::tie(file.time, file.kind) < std::tie(first->time, first->kind)) {
            first = &file;
            record.first = file.kind;
        }
    }
}
} // namespace

EvidenceSet SetList::operator[](std::size_t place) const
{
    const SetRecord& record = mRecords[place];
    EvidenceSet set;
    set.process = GetProcess(place);
    set.pid = record.pid;
    set.label = GetLabel(place);
    set.resource = GetResource(set.label);
    set.number = record.number;
    set.time = record.time;
    set.folder = MakeSetFolder(set.process, record.pid, record.number);
    set.sums = record.sums;
    set.isPinned = record.isPinned;
    set.isHalfDeleted = record.isHalfDeleted;
    return set;
}

void SetList::Add(const EvidenceSet& set)
{
    SetRecord& record = mRecords.emplace_back();
    record.process = GetNamePlace(set.process);
    record.pid = set.pid;
    record.label = GetNamePlace(set.label);
    record.number = set.number;
    record.time = set.time;
    record.sums = set.sums;
    record.isPinned = set.isPinned;
    record.isHalfDeleted = set.isHalfDeleted;
    NoteFiles(set, record);
}

void SetList::AddAlone(const std::string& process, int pid, const DumpRecord& dump)
{
    SetRecord& record = mRecords.emplace_back();
    record.process = GetNamePlace(process);
    record.pid = pid;
    record.label = dump.label;
    record.number = dump.number;
    record.time = dump.time;
    record.first = FileKind::ThreadDump;
    AddThreadDump(mRecords.size() - 1, dump);
}

void SetList::AddThreadDump(std::size_t place, const DumpRecord& dump)
{
    SetRecord& record = mRecords[place];
    record.dumpNumber = dump.number;
    record.dumpTime = dump.time;
    record.sums.Add(dump.sums);
    if (record.number == dump.number) { // marks stand in the folder of their set
        record.isPinned = record.isPinned || dump.isPinned;
        record.isHalfDeleted = record.isHalfDeleted || dump.isHalfDeleted;
    }
}

void SetList::Sort()
{
    const auto name = [this](const SetRecord& record) {
        return MakeSetFolder(*mNames[record.process], record.pid, record.number);
    };
    std::sort(mRecords.begin(), mRecords.end(), [&](const SetRecord& left, const SetRecord& right) {
        if (left.time != right.time) {
            return left.time < right.time;
        }
        return std::make_tuple(name(left), *mNames[left.label]) <
               std::make_tuple(name(right), *mNames[right.label]);
    });
}

std::uint32_t SetList::GetNamePlace(const std::string& name)
{
    const auto [known, isNew] = mPlaces.emplace(name, static_cast<std::uint32_t>(mNames.size()));
    if (isNew) {
        mNames.push_back(&known->first);
    }
    return known->second;
}

} // namespace ctl
