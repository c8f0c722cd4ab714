"""Mutants of a C++ source: copies of its text that differ in one place, as a slip of the author would."""
import re
from typing import NamedTuple

SWAPS = {" < ": [" <= "], " <= ": [" < "], " > ": [" >= "], " >= ": [" > "], " == ": [" != "], " != ": [" == "],
         " && ": [" || "], " || ": [" && "], " + ": [" - "], " - ": [" + "], " += ": [" -= "], " -= ": [" += "],
         " / ": [" * "], "++": ["--"], "--": ["++"], "true": ["false"], "false": ["true"], "!": [""]}
# Comments, literals and lines of the preprocessor, in which nothing is changed.
OPAQUE = re.compile(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])*\'|^#[^\n]*',
                    re.DOTALL | re.MULTILINE)
OPERATOR = re.compile(r" (?:<=?|>=?|==|!=|&&|\|\||\+|-|\+=|-=|/) |\+\+|--|\btrue\b|\bfalse\b|!(?!=)")
NUMBER = re.compile(r"(?<![\w.])\d[\d.]*(?:e\d+)?(?![\w.])")
RETURN = re.compile(r"\breturn ([^;]+);")
STATEMENT = re.compile(r"^ +(?!(?:break|case|const|continue|default|else|return|using)\b)[\w(*+~-][^;{}]*;$",
                       re.MULTILINE)
JUMP = re.compile(r"\b(?:break|continue);")
CONDITION = re.compile(r"\b(?:if|while) \(([^;{}]*)\) \{$", re.MULTILINE)
COMPARISON = re.compile(r" (?:<=?|>=?|==|!=|&&|\|\|) ")


class Mutant(NamedTuple):
    """One change: the characters of a source from `start` to `end` become `text`."""
    start: int
    end: int
    text: str

    def apply(self, source):
        return source[:self.start] + self.text + source[self.end:]

    def line_number(self, source):
        return source.count("\n", 0, self.start) + 1

    def before_and_after(self, source):
        """The lines that the change touches, without line ends and blanks in a row, before and after it."""
        first = source.rfind("\n", 0, self.start) + 1
        last = source.find("\n", self.end)
        last = len(source) if last < 0 else last
        changed = source[first:self.start] + self.text + source[self.end:last]
        return " ".join(source[first:last].split()), " ".join(changed.split())


def hide(source):
    """The text with as many blanks or quotes in place of everything that is no code."""
    def blank(match):
        text = match.group()
        filler = '"' if text[0] in "\"'" else " "
        return "".join(character if character == "\n" else filler for character in text)
    return OPAQUE.sub(blank, source)


def other_numbers(number):
    if not number.isdigit():
        return [f"({number} / 10 + 1)"]
    value = int(number)
    return [str(value + 1)] + ([str(value - 1)] if value > 0 else [])


def mutants(source):
    """All mutants of the text, in the order of their places: a comparison, an operator, a number, a truth, a
    returned value or a condition is another one, or a statement is missing."""
    code = hide(source)
    found = [Mutant(*match.span(), text) for match in OPERATOR.finditer(code) for text in SWAPS[match.group()]]
    found += [Mutant(*match.span(), text) for match in NUMBER.finditer(code)
              for text in other_numbers(match.group())]
    found += [Mutant(*match.span(1), "{}") for match in RETURN.finditer(code)
              if not re.fullmatch(r'\d[\d.]*|true|false|\{\}|nullptr|std::nullopt|""', match.group(1))]
    found += [Mutant(match.start() + len(match.group()) - len(match.group().lstrip()), match.end(), ";")
              for match in STATEMENT.finditer(code)]
    found += [Mutant(*match.span(), ";") for match in JUMP.finditer(code)]
    found += [Mutant(*match.span(1), f"!({source[match.start(1):match.end(1)]})")
              for match in CONDITION.finditer(code)
              if not COMPARISON.search(match.group(1)) and not match.group(1).startswith("!")]
    return sorted(set(found))
