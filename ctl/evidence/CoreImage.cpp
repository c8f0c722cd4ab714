#include "evidence/CoreImage.h"

#include "base/Plural.h"
#include "base/SafeFile.h"
#include "evidence/CoreProgram.h"

#include <elf.h>

namespace ctl
{
namespace
{
void CompareProgram(const CoreProgram& program, CoreReport& report)
{
    if (program.path.empty() || !program.buildId) {
        report.notes.push_back("the image does not say which build of which program it is of");
        return;
    }
    if (program.path.front() != '/') {
        report.notes.push_back("the image names a program without its place: " + program.path);
        return;
    }
    const OpenedFile binary = OpenRegularFile(AT_FDCWD, program.path);
    if (!binary.IsOpen()) {
        report.notes.push_back("its program " + program.path + ", build id " + *program.buildId +
                               ", can't be compared: " + binary.failure);
        return;
    }
    const auto found = ReadBuildId(binary.file.Get(), static_cast<std::uint64_t>(binary.status.st_size));
    if (!found) {
        report.notes.push_back(program.path + " has no build id to compare");
    } else if (*found != *program.buildId) {
        report.mismatch = "is of another build than " + program.path + " here: build id " + *program.buildId +
                          " in the image, " + *found + " in the file";
    }
}
} // namespace

CoreReport CheckCoreHead(int file, std::uint64_t bytes)
{
    CoreReport report;
    const ElfResult elf = ReadElfHead(file, bytes);
    if (!elf.IsRead()) {
        report.damage = elf.failure;
        return report;
    }
    if (elf.head.type != ET_CORE) {
        report.damage = "is no core image but another kind of ELF file";
        return report;
    }
    if (elf.head.neededBytes > bytes) {
        report.damage = "is cut short: its head needs " + CountNoun(elf.head.neededBytes, "byte") +
                        ", the file has " + std::to_string(bytes);
        return report;
    }
    const CoreProgram program = ReadCoreProgram(file, elf.head);
    if (program.threads == 0) {
        report.damage = "holds no thread in its notes, so no debugger reads it";
        return report;
    }
    CompareProgram(program, report);
    return report;
}

} // namespace ctl
