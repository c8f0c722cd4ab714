#include "evidence/Sha256.h"

#include <nettle/base64.h>
#include <nettle/sha2.h>

namespace ctl
{

Sha256::Sha256() : mContext(std::make_unique<sha256_ctx>())
{
    sha256_init(mContext.get());
}

Sha256::~Sha256() = default;

void Sha256::Take(std::string_view bytes)
{
    sha256_update(mContext.get(), bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
}

Sha256::Digest Sha256::Finish()
{
    Digest digest = {};
    sha256_digest(mContext.get(), digest.size(), digest.data());
    return digest;
}

std::string FormatHex(const Sha256::Digest& digest)
{
    constexpr char DIGITS[] = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : digest) {
        text += DIGITS[byte / 16];
        text += DIGITS[byte % 16];
    }
    return text;
}

std::string FormatBase64(const Sha256::Digest& digest)
{
    std::string text(BASE64_ENCODE_RAW_LENGTH(std::tuple_size_v<Sha256::Digest>), '\0');
    base64_encode_raw(text.data(), digest.size(), digest.data());
    return text;
}

} // namespace ctl
