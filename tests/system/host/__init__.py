"""Hosts for system tests: a test describes a host, starts the installed program there, and says what is seen.

    def test_a_breach_comes_at_the_fifth_reading(make_host):
        busy = Process(4321, "/opt/exampled -d", cpu=[90, 95, 99, 90, 90])
        host = make_host(store={"THHS_MONITOR_CPU": "exampled:80"}, processes=[busy])
        host.start()
        host.log_says(texts.exceeded("CPU", "exampled", 4321, 80, 90))
        host.after_pass(5)
        assert host.passes() >= 5

How to run: `/usr/bin/python3 -m pytest tests/system -n 8 -q` after a build. The build folder is build/dev,
or what THSENTINEL_BUILD (or THSENTINEL_BUILD_DIR) names. THSENTINEL_NIGHTLY=1 asks for the long form of the
tests that have one. A random sequence has its seed in the name of its test; THSENTINEL_SEED=N runs seed N
alone. Where isolated hosts can't be made, the tests that need one are skipped with the reason.

The host
  `make_host(...)` makes a host, as many as the test wants; `host` is one with nothing but defaults. Host()
  shows what can be described. Each is a private namespace (script/host) with an agent inside, and ends with
  the test, all its processes with it. The program is installed from one staged tree a session.

The store
  `host.store` starts with a poll interval of one second, one reading of one second, and an evidence folder,
  so that loads are quiet and captures short. `host.configure(KEY=value)` changes it at any time, None takes a
  key out, `host.put(product.STORE, text)` writes the file as it is.

Processes and tools
  Unless `real_tools=True`, ps answers from the `Process` rows of the test: readings by pass, passes in which
  a process lives. The other tools say their name and arguments, or what a `Tool` says. grep, egrep, awk, wc
  and cat are always real. /proc/cpuinfo shows one processor, so readings are not divided, unless `cpus` says
  otherwise. Real processes come from `host.spawn(...)`.

  `paced.Paced(host, pace)` starts a daemon whose passes go on only when the test lets them; `live(...)` makes
  the host too. `interpose(host, source)` puts functions of the test's own between a program and its libraries.
  `refusing.refuse(host, ...)` makes calls of the machine fail for the daemon.

Time
  A pass is a poll interval and a little more; the first begins with the start, which itself takes two
  seconds. With an interval of one second the first decision falls some five seconds after the start. Nothing
  sleeps for luck: `host.after_pass(n)`, `host.log_says(...)`, `host.system_log_says(...)`,
  `host.evidence_is(...)`, `host.until(...)` and `host.comes_to(...)` wait for a condition, each with a limit.
  What must not move while a test looks is held with SIGSTOP.

What is compared
  `host.run("-start")` gives status, output, errors. `host.log()` are the log's entries without stamps,
  `host.system_log()` level and text, `host.evidence()` path to text with the times in names left out,
  `host.shell_lines()` every line that a shell was given, `host.calls("ps")` the calls of a scripted tool.
  `texts` holds what the program says word for word, and the always lines of a load.
"""
import os

from . import paced, product, refusing, texts
from .machine import Host, HostFailed, Result, missing_tools
from .scripted import Process, Tool

NIGHTLY = os.environ.get("THSENTINEL_NIGHTLY") == "1"
SEEDS = ([int(os.environ["THSENTINEL_SEED"])] if "THSENTINEL_SEED" in os.environ
         else range(1, 201 if NIGHTLY else 11))

__all__ = ["Host", "HostFailed", "NIGHTLY", "Process", "Result", "SEEDS", "Tool", "missing_tools", "paced",
           "product", "refusing", "texts"]
