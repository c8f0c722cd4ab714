#include "evidence/EvidenceSet.h"

#include "base/TimeText.h"

#include <algorithm>
#include <tuple>

namespace ctl
{

std::string EvidenceSet::GetId() const
{
    std::string stamp;
    for (const char letter : FormatLocalTime(time)) {
        if (letter == ' ') {
            stamp += 'T';
        } else if (letter != '-' && letter != ':') {
            stamp += letter;
        }
    }
    return folder + "/" + (resource.empty() ? "empty" : resource) + "-" + stamp;
}

std::string EvidenceSet::GetStem() const
{
    const auto first = std::min_element(files.begin(), files.end(), [](const auto& left, const auto& right) {
        return std::tie(left.time, left.name) < std::tie(right.time, right.name);
    });
    return first == files.end() ? "" : first->name.substr(0, first->name.rfind('.'));
}

const EvidenceFile* EvidenceSet::Find(FileKind kind) const
{
    for (const EvidenceFile& file : files) {
        if (file.kind == kind) {
            return &file;
        }
    }
    return nullptr;
}

void FileSums::Add(const EvidenceFile& file)
{
    ++count;
    if (file.IsPlain()) {
        bytes += file.bytes;
        diskBytes += file.diskBytes;
        textBytes += IsText(file.kind) ? file.bytes : 0;
        modified = std::max(modified, file.modified);
    }
}

void FileSums::Add(const FileSums& other)
{
    count += other.count;
    bytes += other.bytes;
    diskBytes += other.diskBytes;
    textBytes += other.textBytes;
    modified = std::max(modified, other.modified);
}

FileSums AddUp(const std::vector<EvidenceFile>& files)
{
    FileSums sums;
    for (const EvidenceFile& file : files) {
        sums.Add(file);
    }
    return sums;
}

void SortByKind(std::vector<EvidenceFile>& files)
{
    std::sort(files.begin(), files.end(), [](const EvidenceFile& left, const EvidenceFile& right) {
        return std::tie(left.kind, left.time) < std::tie(right.kind, right.time);
    });
}

std::string GetResource(std::string label)
{
    for (char& letter : label) {
        letter = letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return label;
}

std::string MakeSetFolder(const std::string& process, int pid, int number)
{
    return process + "/" + std::to_string(pid) + "/Evidence" + std::to_string(number);
}

} // namespace ctl
