"""Which characters a text of the store may hold: each of them, on the console and in the log."""
import string

from host import texts

KEY = "THHS_MEMORY_UNIT"
ALLOWED = string.ascii_letters + string.digits + "@_.\\/-:, \t"
IN_THE_INPUT = f"There are invalid characters in the input for {KEY}."
UNAUTHORIZED = "There are unauthorized characters detected in the input. Returning Error."
BEYOND_ASCII = "\udc80\udca0\udcc3\udce9\udcff"  # single bytes
REJECTED = [one for one in [*map(chr, range(1, 128)), *BEYOND_ASCII] if one not in ALLOWED + "\n*"]


def refusals(host, values):
    """What the console shows and what the log has for each of these values of the memory unit."""
    found = {}
    for value in values:
        before = len(host.log())
        host.configure({KEY: value})
        result = host.run("-start")
        assert (result.status, result.errors) == (8, "")
        said = result.output.removeprefix(texts.begun("start")).removesuffix(texts.failed("start"))
        found[value] = said, host.log()[before:]
    return found


def bad_character(character):
    line = f"There are non alpha numeric characters in the input '{character}'. Returning Error."
    return f"{IN_THE_INPUT}\n", [texts.READING, line, IN_THE_INPUT]


def passed(value):
    """What becomes of a text that passes and is no unit."""
    line = f"Invalid value for {KEY} : {value}. Can only have values PERCENT or ABSOLUTE."
    return f"{line}\n", [texts.READING, line]


def test_every_other_character_is_refused_and_named(host):
    values = {f"K{one}B": bad_character(one) for one in REJECTED}
    assert refusals(host, values) == values


def test_letters_digits_and_ten_other_characters_pass(host):
    values = {value: passed(value) for value in (f"K{ALLOWED}B", "a./b/.c", "-", ".", "a:b, c")}
    assert refusals(host, values) == values


def test_a_sequence_is_refused_before_any_character_and_only_the_first_character_is_named(host):
    unauthorized = f"{IN_THE_INPUT}\n", [texts.READING, UNAUTHORIZED, IN_THE_INPUT]
    sequences = ["a..b", "a../b", "a..\\b", "..", "...", "*", "a.?b", ";..", "?*"]
    values = {**dict.fromkeys(sequences, unauthorized), "a. .b": passed("a. .b"),
              "a?b": bad_character("?"), "a;b!c": bad_character(";"), "!;": bad_character("!")}
    assert refusals(host, values) == values
