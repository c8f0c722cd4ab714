#include "evidence/Bundle.h"

#include "base/Document.h"
#include "evidence/ArchiveLibrary.h"
#include "evidence/DataScan.h"
#include "evidence/HidingStream.h"
#include "evidence/Sha256.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace ctl
{
namespace
{
constexpr char FOLDER[] = "thsentinel/";
constexpr mode_t ENTRY_MODE = 0600;
constexpr std::size_t ZERO_BLOCK = std::size_t{64} * 1024;

struct WriterDeleter
{
    void operator()(archive* writer) const { GetArchiveLibrary().writeFree(writer); }
};

struct EntryDeleter
{
    void operator()(archive_entry* entry) const { GetArchiveLibrary().entryFree(entry); }
};

/** A tar that is written, file by file. */
class TarWriter
{
public:
    explicit TarWriter(int output) : mLibrary(GetArchiveLibrary()), mWriter(mLibrary.writeNew())
    {
        Demand(mWriter != nullptr);
        Demand(mLibrary.writeAddFilterZstd(mWriter.get()) == ARCHIVE_OK);
        Demand(mLibrary.writeSetFormatPaxRestricted(mWriter.get()) == ARCHIVE_OK);
        // A pipe gets no more than a file: zeros after the end would be damage.
        Demand(mLibrary.writeSetBytesInLastBlock(mWriter.get(), 1) == ARCHIVE_OK);
        Demand(mLibrary.writeOpenFd(mWriter.get(), output) == ARCHIVE_OK);
    }

    void Begin(const std::string& name, std::uint64_t bytes, std::time_t modified)
    {
        const std::unique_ptr<archive_entry, EntryDeleter> entry(mLibrary.entryNew());
        Demand(entry != nullptr);
        mLibrary.entrySetPathname(entry.get(), name.c_str());
        mLibrary.entrySetFiletype(entry.get(), AE_IFREG);
        mLibrary.entrySetPerm(entry.get(), ENTRY_MODE);
        mLibrary.entrySetSize(entry.get(), static_cast<la_int64_t>(bytes));
        mLibrary.entrySetMtime(entry.get(), modified, 0);
        // A name that is no UTF-8 is written as it is, with a warning.
        Demand(mLibrary.writeHeader(mWriter.get(), entry.get()) >= ARCHIVE_WARN);
    }

    void Take(std::string_view bytes)
    {
        const la_ssize_t written = mLibrary.writeData(mWriter.get(), bytes.data(), bytes.size());
        Demand(written >= 0 && static_cast<std::size_t>(written) == bytes.size());
    }

    void Finish() { Demand(mLibrary.writeClose(mWriter.get()) == ARCHIVE_OK); }

private:
    void Demand(bool isDone) const
    {
        if (!isDone) {
            const char* const reason = mWriter == nullptr ? nullptr : mLibrary.errorString(mWriter.get());
            throw std::runtime_error(std::string("the bundle can't be written: ") +
                                     (reason == nullptr ? "no memory" : reason));
        }
    }

    const NamesInUtf8 mNames;
    const ArchiveLibrary& mLibrary;
    const std::unique_ptr<archive, WriterDeleter> mWriter;
};

using BytesTaker = std::function<void(std::string_view bytes)>;

/** Gives all bytes of a file, the holes as zeros. */
void ReadWhole(int file, std::uint64_t bytes, const BytesTaker& take)
{
    const std::string zeros(ZERO_BLOCK, '\0');
    std::uint64_t next = 0;
    const auto fill = [&](std::uint64_t end) {
        while (next < end) {
            const std::size_t size = std::min<std::uint64_t>(zeros.size(), end - next);
            take(std::string_view(zeros).substr(0, size));
            next += size;
        }
    };
    const DataScan scan = ReadData(file, bytes, [&](std::uint64_t offset, std::string_view block) {
        fill(offset);
        take(block);
        next = offset + block.size();
    });
    if (!scan.failure.empty()) {
        throw std::runtime_error("a file of the set " + scan.failure);
    }
    fill(bytes);
}

/** Gives a text with its values hidden. Returns how many were. */
std::size_t ReadHidden(int file, std::uint64_t bytes, const Redaction& redaction, const BytesTaker& take)
{
    HidingStream stream(redaction, take);
    ReadWhole(file, bytes, [&stream](std::string_view block) { stream.Take(block); });
    stream.Finish();
    return stream.GetHidden();
}

/** Writes the files of one set. */
class BundleWriter
{
public:
    BundleWriter(int output, const EvidenceTree& tree, const EvidenceSet& set, const BundleRules& rules)
        : mTar(output), mTree(tree), mSet(set), mRules(rules)
    {}

    std::vector<BundledFile> Run(const SetReport& report)
    {
        const OpenedFile folder = OpenSetFolder(mTree, mSet);
        if (!folder.IsOpen()) {
            throw std::runtime_error(mSet.folder + ": " + folder.failure);
        }
        for (const EvidenceFile& file : mSet.files) {
            AddFile(folder.file.Get(), file);
        }
        AddManifest(report);
        mTar.Finish();
        return std::move(mFiles);
    }

private:
    void AddFile(int folder, const EvidenceFile& file)
    {
        BundledFile bundled;
        bundled.path = (std::filesystem::path(mSet.folder) / file.name).lexically_normal().string();
        bundled.bytes = file.bytes;
        const OpenedFile opened = OpenEvidenceFile(folder, file);
        if (!mRules.withCores && !IsText(file.kind)) {
            bundled.leftOutWhy = "cores and heap dumps are bundled with --with-cores only";
        } else if (!opened.IsOpen()) {
            bundled.leftOutWhy = opened.failure;
        } else {
            bundled.bytes = static_cast<std::uint64_t>(opened.status.st_size);
            Copy(opened.file.Get(), file, bundled);
        }
        mFiles.push_back(std::move(bundled));
    }

    void Copy(int opened, const EvidenceFile& file, BundledFile& bundled)
    {
        const std::uint64_t bytes = bundled.bytes;
        const bool isHidden = mRules.redaction && IsText(file.kind);
        if (isHidden) { // the tar wants the size first, so the text is gone through twice
            bundled.bytes = 0;
            bundled.hidden = ReadHidden(opened, bytes, *mRules.redaction, [&](std::string_view text) {
                bundled.bytes += text.size();
                Advance(text.size());
            });
        }
        mTar.Begin(FOLDER + bundled.path, bundled.bytes, file.modified);
        Sha256 digest;
        std::uint64_t written = 0;
        const auto take = [&](std::string_view text) {
            const std::string_view taken = text.substr(0, bundled.bytes - written);
            written += taken.size();
            digest.Take(taken);
            mTar.Take(taken);
            Advance(taken.size());
        };
        if (isHidden) {
            (void)ReadHidden(opened, bytes, *mRules.redaction, take); // counted before
        } else {
            ReadWhole(opened, bytes, take);
        }
        if (written != bundled.bytes) {
            throw std::runtime_error(bundled.path + " changed while it was bundled; try again");
        }
        bundled.sha256 = FormatHex(digest.Finish());
    }

    void Advance(std::uint64_t bytes) const
    {
        if (mRules.progress) {
            mRules.progress(bytes);
        }
    }

    Json MakeManifest(const SetReport& report) const
    {
        Json manifest = BeginDocument(MANIFEST_KIND);
        manifest["set"] = {{"id", ToJson(mSet.GetId())},
                           {"process", ToJson(mSet.process)},
                           {"pid", mSet.pid},
                           {"resource", ToJson(mSet.resource)},
                           {"number", mSet.number},
                           {"time", TimeToJson(mSet.time)},
                           {"state", GetStateName(report.state)}};
        manifest["settingsFailure"] =
            mRules.settingsFailure.empty() ? Json(nullptr) : ToJson(mRules.settingsFailure);
        manifest["problems"] = Json::array();
        for (const std::string& problem : report.problems) {
            manifest["problems"].push_back(ToJson(problem));
        }
        manifest["hiddenWords"] = Json::array();
        if (mRules.redaction) {
            for (const std::string& word : mRules.redaction->GetWords()) {
                manifest["hiddenWords"].push_back(ToJson(word));
            }
        }
        AddFiles(manifest);
        return manifest;
    }

    void AddFiles(Json& manifest) const
    {
        manifest["files"] = Json::array();
        manifest["leftOut"] = Json::array();
        for (const BundledFile& file : mFiles) {
            Json json = {{"path", ToJson(FOLDER + file.path)}, {"bytes", file.bytes}};
            if (file.leftOutWhy.empty()) {
                json["sha256"] = file.sha256;
                json["hidden"] = file.hidden;
                manifest["files"].push_back(std::move(json));
            } else {
                json["reason"] = ToJson(file.leftOutWhy);
                manifest["leftOut"].push_back(std::move(json));
            }
        }
    }

    void AddManifest(const SetReport& report)
    {
        const std::string text = MakeManifest(report).dump(2) + "\n";
        mTar.Begin(MANIFEST_NAME, text.size(), std::time(nullptr));
        mTar.Take(text);
    }

    TarWriter mTar;
    const EvidenceTree& mTree;
    const EvidenceSet& mSet;
    const BundleRules& mRules;
    std::vector<BundledFile> mFiles;
};
} // namespace

std::vector<BundledFile> WriteBundle(int output, const EvidenceTree& tree, const EvidenceSet& set,
                                     const SetReport& report, const BundleRules& rules)
{
    return BundleWriter(output, tree, set, rules).Run(report);
}

} // namespace ctl
