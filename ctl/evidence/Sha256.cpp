#include "evidence/Sha256.h"

#include <stdexcept>

#include <openssl/evp.h>

namespace ctl
{
namespace
{
void Demand(bool isDone)
{
    if (!isDone) {
        throw std::runtime_error("SHA-256 can't be computed here");
    }
}
} // namespace

void Sha256::ContextDeleter::operator()(evp_md_ctx_st* context) const
{
    EVP_MD_CTX_free(context);
}

Sha256::Sha256() : mContext(EVP_MD_CTX_new())
{
    Demand(mContext != nullptr && EVP_DigestInit_ex(mContext.get(), EVP_sha256(), nullptr) == 1);
}

Sha256::~Sha256() = default;

void Sha256::Take(std::string_view bytes)
{
    Demand(EVP_DigestUpdate(mContext.get(), bytes.data(), bytes.size()) == 1);
}

std::string Sha256::Finish()
{
    constexpr char DIGITS[] = "0123456789abcdef";
    unsigned char digest[EVP_MAX_MD_SIZE] = {};
    unsigned int size = 0;
    Demand(EVP_DigestFinal_ex(mContext.get(), digest, &size) == 1);
    std::string text;
    for (unsigned int index = 0; index < size; ++index) {
        text += DIGITS[digest[index] / 16];
        text += DIGITS[digest[index] % 16];
    }
    return text;
}

} // namespace ctl
