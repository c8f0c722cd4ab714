#pragma once

#include <string>
#include <string_view>

/** Gives a parser a recorded text line by line, as a file would come. */
template <typename Parser>
void Feed(Parser& parser, std::string_view text)
{
    while (!text.empty()) {
        const auto end = text.find('\n');
        parser.TakeLine(text.substr(0, end));
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
}

/** Texts that no tool prints and a damaged or forged file may hold. */
inline const std::string HOSTILE_TEXTS[] = {
    "",
    "\n\n\n",
    std::string("\0\0\0\n\0 PID COMMAND\n\0", 18),
    "\x7f"
    "ELF\xff\xfe\x80 : : : -1 99999999999999999999999999 nan inf\n",
    std::string(1 << 20, 'x'),
    std::string(1 << 18, ':') + "\n" + std::string(1 << 18, ' '),
    "  PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND\n-1\n99999999999999999999 "
    "a b\n",
    "Mem: -\nSwap:\ntotal used\nMem:\n-/+ buffers/cache:\n",
    "Device\nvda\navg-cpu:\n\nDevice r/s w/s r_await w_await\nvda nan inf 1e400 -\n",
    "00:00:99 CPU %idle\n99:99:99 all\n CPU %idle\nall\n",
    "tcp\ntcp 0\ntcp 0 0 a b\ntcp x y CLOSE_WAIT CLOSE_WAIT CLOSE_WAIT\nudp6 0 0 : : 1/\n",
    "0-0\n0-0 \nSize:\nSize: kB\nffffffffffffffffffff-0 x\nRss: 99999999999999999999999999999 kB\n",
    "Thread \nThread (\nTID \n#\n#0\n#00000\n#1  0x in  (\n",
    "\" tid=\n\"\" tid=\n\"a tid=\nFound one Java-level deadlock\nFound one Java-level deadlock:\n- locked "
    "<\n- locked "
    "<0x>\n",
};
