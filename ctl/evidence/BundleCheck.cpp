#include "evidence/Bundle.h"

#include "base/Document.h"
#include "base/Plural.h"
#include "evidence/ArchiveLibrary.h"
#include "evidence/Sha256.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <stdexcept>

namespace ctl
{
namespace
{
constexpr std::size_t LONGEST_MANIFEST =
    std::size_t{1024} * 1024;             // parsed it takes some thirty times as much
constexpr std::size_t MOST_FILES = 1'000; // a set has about ten
constexpr std::size_t LONGEST_NAME = 4096;
constexpr std::size_t MOST_PROBLEMS = 100; // what is worse isn't read better
constexpr std::size_t BLOCK = std::size_t{64} * 1024;

struct ReaderDeleter
{
    void operator()(archive* reader) const { GetArchiveLibrary().readFree(reader); }
};

/** Size and digest of a file, as found or as promised. */
struct Measure
{
    std::uint64_t bytes = 0;
    std::string sha256;
};

/** True for a path from the root, or with a way up in it. */
bool LeadsOutside(const std::string& name)
{
    const std::filesystem::path path(name);
    return path.is_absolute() || std::find(path.begin(), path.end(), "..") != path.end();
}

/** Reads a bundle from its first to its last byte. */
class BundleReader
{
public:
    BundleReader(int input, const std::function<void(std::uint64_t)>& progress)
        : mLibrary(GetArchiveLibrary()), mReader(mLibrary.readNew()), mProgress(progress)
    {
        // These two alone: a bundle comes from elsewhere, and other formats have no place in it.
        mLibrary.readSupportFilterZstd(mReader.get());
        mLibrary.readSupportFormatTar(mReader.get());
        // What follows the end of the tar is read too: tools that join archives would unpack it.
        mLibrary.readSetFormatOption(mReader.get(), "tar", "read_concatenated_archives", "1");
        if (mLibrary.readOpenFd(mReader.get(), input, BLOCK) != ARCHIVE_OK) {
            Fail("is no bundle");
        }
    }

    BundleReport Run()
    {
        archive_entry* entry = nullptr;
        int result = 0;
        while ((result = mLibrary.readNextHeader(mReader.get(), &entry)) == ARCHIVE_OK ||
               result == ARCHIVE_WARN) { // a name that isn't of this locale
            TakeEntry(entry);
        }
        if (result != ARCHIVE_EOF) {
            if (mFound.empty() && !mHasManifest) {
                Fail("is no bundle");
            }
            AddProblem(std::string("the bundle is cut short or damaged: ") + GetReason());
        }
        if (mLibrary.filterCode(mReader.get(), 0) != ARCHIVE_FILTER_ZSTD) {
            mReport.problems.emplace_back("the bundle is not compressed by zstd");
        }
        Compare();
        if (mMoreProblems > 0) {
            mReport.problems.push_back("and " + CountNoun(mMoreProblems, "problem") + " more");
        }
        return std::move(mReport);
    }

private:
    std::string GetReason() const
    {
        const char* const reason = mLibrary.errorString(mReader.get());
        return reason == nullptr ? "no reason given" : reason;
    }

    [[noreturn]] void Fail(const std::string& text) const
    {
        throw std::runtime_error(text + ": " + GetReason());
    }

    void TakeEntry(archive_entry* entry)
    {
        const char* const given = mLibrary.entryPathname(entry);
        const std::string name = ToJson(given == nullptr ? "" : given); // as the manifest has it
        if (LeadsOutside(name)) {
            AddProblem(name + ": would be unpacked outside the folder of the bundle");
        }
        if (mLibrary.entryFiletype(entry) != AE_IFREG || mLibrary.entryHardlink(entry) != nullptr) {
            AddProblem(name + ": is no plain file");
        } else if (name == MANIFEST_NAME && mHasManifest) {
            AddProblem(name + ": is there twice");
        } else if (name == MANIFEST_NAME) {
            mHasManifest = true;
            ReadEntry([this](std::string_view bytes) { TakeManifest(bytes); });
        } else if (mFound.size() == MOST_FILES || name.size() > LONGEST_NAME || mFound.count(name) != 0) {
            AddProblem(name + ": is one file too many");
        } else {
            Measure measure;
            Sha256 digest;
            ReadEntry([&](std::string_view bytes) {
                measure.bytes += bytes.size();
                digest.Take(bytes);
            });
            measure.sha256 = FormatHex(digest.Finish());
            mFound.emplace(name, std::move(measure));
        }
    }

    void ReadEntry(const std::function<void(std::string_view)>& take)
    {
        const auto buffer = std::make_unique<char[]>(BLOCK);
        la_ssize_t count = 0;
        while ((count = mLibrary.readData(mReader.get(), buffer.get(), BLOCK)) > 0) {
            take({buffer.get(), static_cast<std::size_t>(count)});
            mProgress(static_cast<std::uint64_t>(count));
        }
    }

    /** What comes after the first ones is counted only: whoever made the bundle decides how many there are.
     */
    void AddProblem(const std::string& problem)
    {
        if (mReport.problems.size() < MOST_PROBLEMS) {
            mReport.problems.push_back(problem.substr(0, 2 * LONGEST_NAME));
        } else {
            ++mMoreProblems;
        }
    }

    void TakeManifest(std::string_view bytes)
    {
        if (mManifest.size() + bytes.size() > LONGEST_MANIFEST) {
            throw std::runtime_error("the manifest is too long");
        }
        mManifest += bytes;
    }

    /**
     * Whether it is the manifest of a set. One that leaves all out has at least a file that it leaves out.
     */
    void CheckKind(const Json& manifest)
    {
        const std::string wanted = BeginDocument(MANIFEST_KIND)["schema"];
        const Json found = manifest.value("schema", Json());
        if (found != wanted) {
            AddProblem(std::string(MANIFEST_NAME) + ": is of another schema than " + wanted);
        }
        if (manifest["files"].empty() && manifest.value("leftOut", Json()).empty()) {
            AddProblem(std::string(MANIFEST_NAME) + ": names no file");
        }
    }

    void AddPromised(const Json& file, std::map<std::string, Measure>& promised)
    {
        const std::string path = file["path"];
        if (!promised.emplace(path, Measure{file["bytes"], file["sha256"]}).second) {
            AddProblem(path + ": stands twice in the manifest");
        }
    }

    /** The files that the manifest promises; nothing of a manifest that is none. */
    std::map<std::string, Measure> ParseManifest()
    {
        std::map<std::string, Measure> promised;
        const Json manifest = Json::parse(mManifest, nullptr, false);
        if (!manifest.is_object() || !manifest.contains("files") || !manifest["files"].is_array()) {
            AddProblem(std::string(MANIFEST_NAME) + (mManifest.empty() ? ": is missing" : ": is damaged"));
            return promised;
        }
        for (const Json& file : manifest["files"]) {
            if (file.is_object() && file.value("path", Json()).is_string() &&
                file.value("bytes", Json()).is_number_unsigned() &&
                file.value("sha256", Json()).is_string()) {
                AddPromised(file, promised);
            } else {
                AddProblem(std::string(MANIFEST_NAME) + ": is damaged");
            }
        }
        CheckKind(manifest);
        return promised;
    }

    void Compare()
    {
        const std::map<std::string, Measure> promised = ParseManifest();
        for (const auto& [name, measure] : promised) {
            const auto found = mFound.find(name);
            if (found == mFound.end()) {
                AddProblem(name + ": is missing");
            } else if (found->second.bytes != measure.bytes) {
                AddProblem(name + ": has " + CountNoun(found->second.bytes, "byte") + ", " +
                           std::to_string(measure.bytes) + " by the manifest");
            } else if (found->second.sha256 != measure.sha256) {
                AddProblem(name + ": is not what was bundled; its SHA-256 differs");
            }
        }
        for (const auto& [name, measure] : mFound) {
            ++mReport.files;
            mReport.bytes += measure.bytes;
            if (promised.count(name) == 0) {
                AddProblem(name + ": is not in the manifest");
            }
        }
    }

    const NamesInUtf8 mNames;
    const ArchiveLibrary& mLibrary;
    const std::unique_ptr<archive, ReaderDeleter> mReader;
    const std::function<void(std::uint64_t)>& mProgress;
    std::map<std::string, Measure> mFound;
    std::string mManifest;
    bool mHasManifest = false;
    BundleReport mReport;
    std::size_t mMoreProblems = 0;
};
} // namespace

BundleReport CheckBundle(int input, const std::function<void(std::uint64_t bytes)>& progress)
{
    return BundleReader(input, progress).Run();
}

} // namespace ctl
