// Fills the tables of the program into a text: fill_tables TEMPLATE RESULT
//
// A line of the template that ends in one of the marks below, such as `# %OPTIONS_BASH%`, is replaced by the
// rows of a table in the form that the text needs; all others are copied. The status is 1 when a file can't
// be read or written, or a line ends in a mark that is not known.
#include "cli/OptionTable.h"

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

struct Mark
{
    const char* mText;
    void (*mPrint)(std::ostream& out);
};

constexpr Mark MARKS[] = {
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
