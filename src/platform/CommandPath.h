#pragma once

#include <string>

/**
 * Absolute paths of the outside tools, found once, when the object is built.
 *
 * Each field holds the tool's usual path if something exists there, and its fallback path otherwise, whether
 * or not anything exists at that: a missing tool shows only when the shell can't run it. An object belongs to
 * one helper and is used by that helper's thread.
 */
class CmdPath
{
public:
    CmdPath();
    virtual ~CmdPath();

    /** True when `stat` on the path succeeds, executable or not. */
    virtual bool IsFileExist(const std::string& path);

    /** The path with one blank behind it, for a line in which arguments follow. */
    static std::string AppendSpace(std::string path);

    std::string mAwk;
    std::string mCat;
    std::string mEcho;
    std::string mEgrep;
    std::string mFree;
    std::string mGcore;
    std::string mGrep;
    std::string mGstack;
    std::string mIostat;
    std::string mLs;
    std::string mMpstat;
    std::string mNetstat;
    std::string mPmap;
    std::string mPs;
    std::string mSed;
    std::string mTop;
    std::string mVmstat;
    std::string mWc;
    std::string mWhich;
};
