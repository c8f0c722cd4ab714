#pragma once

#include <ctime>
#include <string>

/** Names in the evidence tree, each made from its arguments alone. Whoever collects evidence parses them. */

/**
 * A file of an evidence set: "4321_13-11_02.10.28_Memory.Netstat".
 *
 * @param local   local time of the capture. Intentional: the name has day before month and no year
 * @param label   label of the resource. The name before the suffix is cut to 63 characters
 * @param suffix  without its dot; empty for none
 */
std::string GetEvidenceFileName(const struct tm& local, int pid, const std::string& label,
                                const std::string& suffix);

/** The folder of a process id, cut to 7 digits. */
std::string GetPidFolderName(int pid);

/** The folder of an evidence set, cut to 15 characters. */
std::string GetEvidenceFolderName(int number);
