#include "evidence/EvidenceNames.h"

#include "base/BoundedText.h"

namespace
{
constexpr std::size_t FILE_NAME_SIZE = 64;
constexpr std::size_t PID_FOLDER_SIZE = 8;
constexpr std::size_t EVIDENCE_FOLDER_SIZE = 16;
} // namespace

std::string GetEvidenceFileName(const struct tm& local, int pid, const std::string& label,
                                const std::string& suffix)
{
    const std::string name =
        FormatBounded(FILE_NAME_SIZE, "%d_%02d-%02d_%02d.%02d.%02d_%s", pid, local.tm_mday, local.tm_mon + 1,
                      local.tm_hour, local.tm_min, local.tm_sec, label.c_str());
    return suffix.empty() ? name : name + "." + suffix;
}

std::string GetPidFolderName(int pid)
{
    return FormatBounded(PID_FOLDER_SIZE, "%d", pid);
}

std::string GetEvidenceFolderName(int number)
{
    return FormatBounded(EVIDENCE_FOLDER_SIZE, "Evidence%d", number);
}
