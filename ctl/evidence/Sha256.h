#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct sha256_ctx;

namespace ctl
{

/** The SHA-256 of bytes that come piece by piece. */
class Sha256
{
public:
    using Digest = std::array<std::uint8_t, 32>;

    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void Take(std::string_view bytes);

    /** Returns the digest of all bytes so far; nothing is taken after it. */
    Digest Finish();

private:
    const std::unique_ptr<sha256_ctx> mContext;
};

/** 64 hexadecimal digits in small letters, as sha256sum prints them. */
std::string FormatHex(const Sha256::Digest& digest);

/** 44 characters, as security policies of web pages name their scripts. */
std::string FormatBase64(const Sha256::Digest& digest);

} // namespace ctl
