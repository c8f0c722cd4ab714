#include "base/BoundedText.h"
#include "base/LogFileMtx.h"
#include "base/LogLine.h"
#include "config/ConfigurationMgr.h"
#include "config/SharedSetting.h"
#include "evidence/CaptureTexts.h"
#include "evidence/EvidenceNames.h"
#include "platform/THUEnv.h"
#include "platform/UnixHelperFunction.h"
#include "thbase.h"

#include <ctime>

#include <fcntl.h>
#include <unistd.h>

namespace
{
constexpr std::size_t CLEAN_LINE_SIZE = 256;
constexpr mode_t MARKER_MODE = 0600;

struct tm GetLocalTime()
{
    const time_t now = time(nullptr);
    struct tm local = {};
    (void)T_localtime(&now, &local); // fills the record that it returns
    return local;
}

/** Makes the folders of a process and their marker. @return the last of them; empty when one can't be made */
std::string MakeProcessFolder(UnixHelperFunction& helper, const std::string& root,
                              const std::string& folderName, int pid)
{
    if (!helper.HF_DoesFolderExist(root) && !helper.HF_CreateDir(root, false)) {
        WriteLogLine(logFileMtx, NO_EVIDENCE_ROOT_TEXT, root.c_str());
        return "";
    }
    std::string path = AppendPaths(root, folderName);
    if (!helper.HF_CreateDir(path, false)) {
        return "";
    }
    path = AppendPaths(path, GetPidFolderName(pid));
    if (!helper.HF_CreateDir(path, false)) {
        return "";
    }
    (void)helper.CreateTouchFile(AppendPaths(path, "evidence.lock")); // only a marker, nothing reads it
    return path;
}
} // namespace

void UnixHelperFunction::GenerateFileName(std::string folderName, int pid, std::string counterLabel,
                                          std::string& outputPath, std::string fileSuffix)
{
    const std::string fileName = GetEvidenceFileName(GetLocalTime(), pid, counterLabel, fileSuffix);
    const ConfigurationMgr& config = *ConfigurationMgr::GetInstance();
    const std::string root = CopySharedText(config.mEvidencePath); // a load may replace it meanwhile
    const std::string folder = MakeProcessFolder(*this, root, folderName, pid);
    if (folder.empty()) {
        return;
    }
    const int number = GetSharedNumber(config.mCurrentEvidenceNumber);
    const std::string path = AppendPaths(folder, GetEvidenceFolderName(number));
    if (HF_CreateDir(path, false)) {
        outputPath += AppendPaths(path, fileName);
    }
}

bool UnixHelperFunction::CreateTouchFile(std::string path)
{
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, MARKER_MODE);
    if (descriptor < 0) {
        WriteLogLine(logFileMtx, "Error: Failed to create touch file %s\n", path.c_str());
        return false;
    }
    (void)close(descriptor); // nothing was written
    return true;
}

void UnixHelperFunction::RemoveDir(std::string folderName, int pid)
{
    // Intentional: below the folder of the log and not below the evidence root, so evidence folders stay.
    const std::string path =
        AppendPaths(AppendPaths(GetTHPerfMonLogPath(), folderName), GetPidFolderName(pid));
    // Intentional: despite its text, the line is written only when rmdir fails.
    if (rmdir(path.c_str()) != 0) {
        WriteVerboseLine(logFileMtx, "Cleaned up folders that are not required %s (PID : %d)\n", path.c_str(),
                         pid);
    }
}

std::string UnixHelperFunction::HF_CommandToCleanFolder(std::string path)
{
    // Intentional: without -r, so rm refuses to remove a folder. Evidence is never removed.
    return FormatBounded(CLEAN_LINE_SIZE, "rm -f %s", path.c_str());
}

void ConfigurationMgr::PurgeOldEvidence()
{
    const std::string line = mHelper->HF_CommandToCleanFolder(mEvidencePath);
    WriteVerboseLine(logFileMtx, "Trying to clean up older evidences. Command : %s\n", line.c_str());
    // Intentional: standard output alone is checked, and rm prints nothing there even when it refuses. So
    // this counts as a success.
    if (mHelper->ExecuteCommand(line.c_str()).empty()) {
        WriteVerboseLine(logFileMtx, "Successfully purged older evidences collected during last runs.\n");
    }
}
