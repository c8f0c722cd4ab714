#pragma once

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <gtest/gtest.h>

/**
 * The system log of an isolated host: whoever writes to it writes to this object. It must not exist
 * elsewhere.
 */
class SystemLog
{
public:
    SystemLog()
    {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        std::strcpy(address.sun_path, PATH);
        (void)unlink(PATH); // left behind by a test before
        EXPECT_EQ(bind(mSocket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ~SystemLog()
    {
        close(mSocket);
        (void)unlink(PATH); // a name that is left behind spoils nothing
    }
    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;

    /**
     * All lines since the last call, each as its priority and its text: "<12>text". A line is here as soon
     * as the call that wrote it has returned.
     */
    std::vector<std::string> TakeLines()
    {
        std::vector<std::string> lines;
        std::array<char, 4096> buffer;
        ssize_t length = recv(mSocket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        while (length > 0) {
            lines.push_back(CutOutTimeAndName({buffer.data(), static_cast<std::size_t>(length)}));
            length = recv(mSocket, buffer.data(), buffer.size(), MSG_DONTWAIT);
        }
        return lines;
    }

private:
    static constexpr const char* PATH = "/dev/log";

    /** "<12>Nov 20 10:00:00 name: text" to "<12>text". */
    static std::string CutOutTimeAndName(const std::string& line)
    {
        const std::string name = std::string(program_invocation_short_name) + ": ";
        const std::size_t nameStart = line.find(name);
        EXPECT_NE(nameStart, std::string::npos) << line;
        return line.substr(0, line.find('>') + 1) + line.substr(nameStart + name.size());
    }

    const int mSocket = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
};
