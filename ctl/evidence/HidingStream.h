#pragma once

#include "evidence/Redaction.h"

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace ctl
{

/** Hides one text, as it stands, in a stream of blocks. */
class HiddenText
{
public:
    /** `text` isn't empty. */
    explicit HiddenText(std::string text);

    /** Returns what is known of the stream with this block; its last bytes may begin the text and wait. */
    std::string Take(std::string_view block, std::size_t& hidden);

    /** Returns the bytes that wait. */
    std::string Finish();

private:
    const std::string mText;
    std::string mPending;
};

/** What the words before say about the current word. */
enum class Hiding
{
    Nothing,
    NextWord,             ///< --name value
    UpToOptionOrVariable, ///< the value of an option may hold blanks
    UpToVariable,         ///< so may that of an environment, and begin words with a dash
    UpToOption            ///< and that of a header, with any signs
};

/**
 * Hides values in a text that comes block by block; see Redaction. Lines may have any length: memory is
 * bounded by the longest word that is looked through, 1 MiB. A longer word is hidden and counted.
 *
 * All other bytes stay as they are. One thread.
 */
class HidingStream
{
public:
    /** Receives the output, in order. */
    using TextTaker = std::function<void(std::string_view text)>;

    /** `redaction` outlives the stream. */
    HidingStream(const Redaction& redaction, TextTaker take);

    void Take(std::string_view block);

    /** Outputs what was held back. Must be called once, at the end of the text. */
    void Finish();

    /** The number of values hidden so far. */
    std::size_t GetHidden() const { return mHidden; }

private:
    void TakeText(std::string_view text);
    void Gather(std::string_view text);
    void EndWord();
    void TakeWord(std::string_view word);
    void TakeLongWord();
    void TakeAddress(std::string_view word);
    void TakeQuery(std::string_view query);
    bool TakeValue(std::string_view word);
    void AddHidden();
    void Give();

    const Redaction& mRedaction;
    const TextTaker mTake;
    std::vector<HiddenText> mTexts;
    std::string mWord;       ///< the beginning of a word that the last block cut
    std::string mResult;     ///< not yet output
    bool mIsTooLong = false; ///< the rest of the current word is hidden
    Hiding mHiding = Hiding::Nothing;
    std::size_t mHidden = 0;
};

/** A short text with its values hidden, as the stream hides them. */
std::string HideValues(const Redaction& redaction, std::string_view text);

} // namespace ctl
