// Fills the tables of the program into a text: fill_tables TEMPLATE RESULT
//
// A line of the template that ends in one of the marks below, such as `# %OPTIONS_BASH%`, is replaced by the
// rows of a table in the form that the text needs; all others are copied. The status is 1 when a file can't
// be read or written, or a line ends in a mark that is not known.
#include "cli/OptionTable.h"
#include "config/KeyTable.h"

#include <cctype>
#include <climits>
#include <cstddef>
#include <fstream>
#include <iostream>
#include <string>

namespace
{
void PrintBashOptions(std::ostream& out)
{
    const char* divider = "    local words='";
    for (const OptionWord& option : OPTION_WORDS) {
        out << divider << option.mWord;
        divider = " ";
    }
    out << "'\n";
}

void PrintZshOptions(std::ostream& out)
{
    for (const OptionWord& option : OPTION_WORDS) {
        out << "    '" << option.mWord << ':' << option.mMeaning << "'\n";
    }
}

std::string GetRange(const KeyRow& row)
{
    const std::string lowest = std::to_string(row.mLowest);
    if (row.mLowest == INT_MIN) {
        return "any number";
    }
    if (row.mHighest == INT_MAX) {
        return lowest + " or more";
    }
    return lowest + (row.mHighest - row.mLowest == 1 ? " or " : " to ") + std::to_string(row.mHighest);
}

/** What a key may hold, in words that follow "Allowed:". */
std::string GetAllowed(const KeyRow& row)
{
    switch (row.mKind) {
    case KeyKind::List:
        return row.mHighest == 0 ? "names" : "names, each with a limit of " + GetRange(row);
    case KeyKind::Unit:
        return std::string(MEMORY_UNIT_ABSOLUTE) + " or " + MEMORY_UNIT_PERCENT + ", in any case";
    case KeyKind::Path:
        return "a folder that exists";
    case KeyKind::FreePath:
        return "a path, which is not looked at";
    case KeyKind::Switch:
    case KeyKind::Integer:
        return GetRange(row) + (*row.mUnit == '\0' ? "" : std::string(" ") + row.mUnit);
    }
    return "";
}

const char* GetEffect(WhenBad whenBad)
{
    switch (whenBad) {
    case WhenBad::StopsService:
        return "stops";
    case WhenBad::RevertsToDefault:
        return "reverts";
    case WhenBad::StaysAsItWas:
        return "is only reported";
    }
    return "";
}

std::string GetDefault(const KeyRow& row)
{
    if (*row.mDefault != '\0') {
        return std::string("Default ") + row.mDefault + '.';
    }
    return row.mWhenAbsent == WhenAbsent::StopsService ? "No default: the key is mandatory."
                                                       : "Default none.";
}

/** A sentence on lines of at most 80 characters, the first of them capital. */
void PrintSentence(std::string text, std::ostream& out)
{
    constexpr std::size_t WIDTH = 80;
    text[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(text[0])));
    while (text.size() > WIDTH) {
        const std::size_t blank = text.rfind(' ', WIDTH);
        out << text.substr(0, blank) << '\n';
        text.erase(0, blank + 1);
    }
    out << text << '\n';
}

/** The keys as a list of mdoc. A sentence begins a line, as mdoc wants it. */
void PrintMdocKeys(std::ostream& out)
{
    out << ".Bl -tag -width Ds\n";
    for (const KeyRow& row : KEY_TABLE) {
        out << ".It Ic " << row.mName << '\n';
        PrintSentence((row.mKind == KeyKind::Switch ? "at 1, " : "") + std::string(row.mMeaning) + '.', out);
        PrintSentence(GetDefault(row), out);
        PrintSentence("allowed: " + GetAllowed(row) + '.', out);
        PrintSentence(std::string("a bad value ") + GetEffect(row.mWhenBad) + '.', out);
    }
    out << ".El\n";
}

/** The keys for checks: name, default, range of a number or nothing, and effect of a bad value, divided by
 * tabs. */
void PrintPlainKeys(std::ostream& out)
{
    for (const KeyRow& row : KEY_TABLE) {
        const bool isNumber = row.mKind == KeyKind::Switch || row.mKind == KeyKind::Integer;
        out << row.mName << '\t' << row.mDefault << '\t' << (isNumber ? GetRange(row) : "") << '\t'
            << GetEffect(row.mWhenBad) << '\n';
    }
}

struct Mark
{
    const char* mText;
    void (*mPrint)(std::ostream& out);
};

constexpr Mark MARKS[] = {
    {"%KEYS_MDOC%", PrintMdocKeys},
    {"%KEYS_PLAIN%", PrintPlainKeys},
    {"%OPTIONS_BASH%", PrintBashOptions},
    {"%OPTIONS_ZSH%", PrintZshOptions},
};

bool EndsInMark(const std::string& line)
{
    if (!line.ends_with('%') || line.size() < 3) {
        return false;
    }
    const std::size_t begin = line.rfind('%', line.size() - 2);
    return begin != std::string::npos &&
           line.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZ_", begin + 1) == line.size() - 1;
}

bool PrintMarked(const std::string& line, std::ostream& out)
{
    for (const Mark& mark : MARKS) {
        if (line.ends_with(mark.mText)) {
            mark.mPrint(out);
            return true;
        }
    }
    std::cerr << "fill_tables: unknown mark: " << line << '\n';
    return false;
}

bool Fill(std::istream& text, std::ostream& out)
{
    bool isGood = true;
    for (std::string line; std::getline(text, line);) {
        if (EndsInMark(line)) {
            isGood = PrintMarked(line, out) && isGood;
        } else {
            out << line << '\n';
        }
    }
    return isGood;
}
} // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::cerr << "usage: fill_tables TEMPLATE RESULT\n";
        return 1;
    }
    std::ifstream text(argv[1]);
    std::ofstream out(argv[2], std::ios::trunc);
    if (!text || !out) {
        std::cerr << "fill_tables: " << (text ? argv[2] : argv[1]) << " can't be opened\n";
        return 1;
    }
    const bool isFilled = Fill(text, out);
    return isFilled && out.flush() ? 0 : 1;
}
