#pragma once

#include <memory>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace ctl
{

/** The SHA-256 of bytes that come piece by piece. Raises std::runtime_error where it can't be computed. */
class Sha256
{
public:
    Sha256();
    ~Sha256();
    Sha256(const Sha256&) = delete;
    Sha256& operator=(const Sha256&) = delete;

    void Take(std::string_view bytes);

    /** Returns 64 hexadecimal digits; nothing is taken after it. */
    std::string Finish();

private:
    struct ContextDeleter
    {
        void operator()(evp_md_ctx_st* context) const;
    };

    std::unique_ptr<evp_md_ctx_st, ContextDeleter> mContext;
};

} // namespace ctl
