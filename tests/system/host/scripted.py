"""What the tools of a scripted host are and what they answer.

Everything lies below /run/scenario of the host:

  calls          a line a call of a scripted tool: its name, a tab, its argument line
  shell          every line that was handed to a shell with -c, each ended by a NUL byte
  ps/listings    how many plain listings ps has answered; two of them are one pass of the daemon
  ps/last        the last pass that has answers of its own; later passes get the same
  ps/N/KIND      what ps answers in pass N

The tools are small scripts on a shell that is not recorded, built from no more than that shell's own words.
"""
from dataclasses import dataclass, field

SCENARIO = "/run/scenario"

# No kernel gives a process this id or one above it.
FIRST_UNREAL_ID = 1 << 22

# In the order in which a breach runs them.
TOOLS = ["ps", "top", "free", "vmstat", "netstat", "iostat", "mpstat", "gstack", "pmap", "gcore"]

SHELL = f"""#!/bin/dash
if [ "$1" = -c ]; then
    shift
    [ "$1" = -- ] && shift
    printf '%s\\0' "$1" >>{SCENARIO}/shell
    set -- -c "$@"
fi
exec /bin/dash "$@"
"""

# The reader of a listing is known by the shell line that ps stands in. The first of the two plain listings of
# a pass is for the table of names, the second for that of ids.
PS = f"""#!/bin/dash
here={SCENARIO}/ps
printf 'ps\\t%s\\n' "$*" >>{SCENARIO}/calls
read -r listings <$here/listings
case $* in
    '-eo pid,command')
        kind=listing
        IFS= read -r line </proc/$PPID/cmdline
        case $line in
            *' -e "'*) ;;
            *)
                listings=$((listings + 1))
                echo $listings >$here/listings
                [ $((listings % 2)) = 0 ] && kind=ids
                ;;
        esac
        ;;
    '-eo pid,%cpu,command') kind=cpu ;;
    '-eo pid,%mem,command') kind=mem ;;
    '-eo pid,rss,command') kind=rss ;;
    '-eo pid,user') kind=user ;;
    '-q '*' -o pid,%cpu,command') kind=cpu-of-$2 ;;
    *) printf 'ps says: %s\\n' "$*" && exit ;;
esac
read -r last <$here/last
pass=$(((listings + 1) / 2))
[ $pass -gt $last ] && pass=$last
[ $pass -lt 1 ] && pass=1
[ -e $here/$pass/$kind ] || kind=cpu-of-none
exec /bin/cat $here/$pass/$kind
"""

GCORE = f"""#!/bin/dash
printf 'gcore\\t%s\\n' "$*" >>{SCENARIO}/calls
echo "core of $3" >"$2.$3"
"""


@dataclass
class Tool:
    """A scripted tool. Without an output of its own it says its name and its argument line.

    output, errors: what it prints on every call; answers: what it prints for that argument line instead;
    status: its exit status; seconds: how long it takes before it prints.
    """
    output: str = None
    errors: str = ""
    answers: dict = field(default_factory=dict)
    status: int = 0
    seconds: float = 0

    def files(self, name):
        """The script and the texts that it prints, as [path, text, mode]."""
        folder = f"{SCENARIO}/tools/{name}"
        found = [[f"{folder}/errors", self.errors, 0o644]]
        lines = ["#!/bin/dash", f"printf '{name}\\t%s\\n' \"$*\" >>{SCENARIO}/calls"]
        if self.seconds:
            lines.append(f"sleep {self.seconds}")
        if self.errors:
            lines.append(f"/bin/cat {folder}/errors >&2")
        lines.append("case $* in")
        for number, (arguments, text) in enumerate(self.answers.items()):
            found.append([f"{folder}/{number}", text, 0o644])
            lines.append(f"    '{arguments}') /bin/cat {folder}/{number} ;;")
        if self.output is None:
            lines.append(f"    *) printf '{name} says: %s\\n' \"$*\" ;;")
        else:
            found.append([f"{folder}/output", self.output, 0o644])
            lines.append(f"    *) /bin/cat {folder}/output ;;")
        lines += ["esac", f"exit {self.status}", ""]
        return found + [[f"/usr/bin/{name}", "\n".join(lines), 0o755]]


@dataclass
class Process:
    """A process that stands in the scripted listing, whether or not it runs.

    command: its whole command line as ps shows it; cpu: percent of one processor, mem: percent of the memory,
    rss: kilobytes, each a reading a pass, the last one lasting; first, last: the passes that list it;
    probed_as: the command line that the probes show, where it differs.
    """
    pid: int
    command: str
    cpu: object = 0
    mem: object = 0
    rss: object = 0
    user: str = "root"
    first: int = 1
    last: int = None
    probed_as: str = None

    def reading(self, kind, number):
        given = getattr(self, kind)
        if not isinstance(given, (list, tuple)):
            return given
        return given[min(number, len(given)) - 1]

    def lives_in(self, number):
        return self.first <= number and (self.last is None or number <= self.last)

    def passes(self):
        """How many passes have something of their own to show of this process."""
        lengths = [len(given) for given in (self.cpu, self.mem, self.rss) if isinstance(given, (list, tuple))]
        return max([1, self.first, 0 if self.last is None else self.last + 1, *lengths])


def answers_of_pass(processes, number):
    """Kind to text: what ps prints in that pass."""
    alive = [one for one in processes if one.lives_in(number)]
    probes = {one.pid: one.command if one.probed_as is None else one.probed_as for one in alive}
    listing = "    PID COMMAND\n" + "".join(f"{one.pid:7d} {one.command}\n" for one in alive)
    found = {"listing": listing, "ids": listing,
             "user": "    PID USER\n" + "".join(f"{one.pid:7d} {one.user}\n" for one in alive),
             "cpu-of-none": "    PID %CPU COMMAND\n"}
    for kind, head, width in (("cpu", "%CPU", 4), ("mem", "%MEM", 4), ("rss", "RSS", 5)):
        title = f"    PID {head:>{width}} COMMAND\n"
        rows = {one.pid: f"{one.pid:7d} {one.reading(kind, number):>{width}} {probes[one.pid]}\n"
                for one in alive}
        found[kind] = title + "".join(rows.values())
        if kind == "cpu":
            found.update({f"cpu-of-{pid}": title + row for pid, row in rows.items()})
    return found


def answer_of_ps(kind, number=1):
    """Where the text lies that ps answers in that pass."""
    return f"{SCENARIO}/ps/{number}/{kind}"


def ps_files(processes):
    """All answers of ps over all passes, as [path, text, mode]."""
    last = max([1] + [one.passes() for one in processes])
    found = []
    for number in range(1, last + 1):
        for kind, text in answers_of_pass(processes, number).items():
            found.append([answer_of_ps(kind, number), text, 0o644])
    return found + [[f"{SCENARIO}/ps/last", f"{last}\n", 0o644]]
