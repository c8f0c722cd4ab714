"""The threads of captures: all are let go of at once, and of one that can't be started the main thread is."""
import pytest

from host import Process, paced, refusing, scripted, texts

NAME, PID = "exampled", 4321
LET_GO = scripted.SCENARIO + "/let-go"

# Says of each thread that is let go of whether it is the main one.
RECORDER = f"""
static pthread_t mainThread;

__attribute__((constructor)) static void RememberMainThread(void) {{ mainThread = pthread_self(); }}

int pthread_detach(pthread_t thread)
{{
    int (*real)(pthread_t) = dlsym(RTLD_NEXT, "pthread_detach");
    FILE* file = fopen("{LET_GO}", "a");
    if (file) {{
        fputs(pthread_equal(thread, mainThread) ? "main\\n" : "another\\n", file);
        fclose(file);
    }}
    return real(thread);
}}
"""


@pytest.fixture(name="breached")
def _breached(make_host, pace, interpose):
    """Makes a paced daemon after a first pass with a breach, on a machine that refuses these calls."""

    def make(*calls):
        host = make_host(store={"THHS_MONITOR_CPU": f"{NAME}:80", "THHS_CAPTURE_WITHOUT_THRESHOLD": 1},
                         processes=[Process(PID, f"/opt/{NAME}", cpu=7)])
        refusing.refuse(host, *calls)
        library = interpose(host, refusing.SOURCE + RECORDER)["LD_PRELOAD"]
        daemon = paced.Paced(host, pace, preloaded=[library])
        assert daemon.start().status == 0
        daemon.captures_end()
        return daemon

    return make


def let_go(host):
    return sorted(host.get(LET_GO).split())


# The worker starts one a capture: memory, network, disk, process; that of the disk starts two more.
REFUSED = {
    "nothing": ([], ["another"] * 6),
    "the first": (["thread of worker 1"], ["another"] * 5 + ["main"]),
    "that of the disk": (["thread of worker 3"], ["another"] * 3 + ["main"]),
    "the last": (["thread of worker 4"], ["another"] * 5 + ["main"]),
    "all of the worker": (["thread of worker"], ["main"] * 4),
    "one of the disk": (["thread of capture 2"], ["another"] * 5 + ["main"]),
}


@pytest.mark.usefixtures("no_thread_sanitizer")
@pytest.mark.parametrize("calls, expected", REFUSED.values(), ids=REFUSED.keys())
def test_a_thread_that_cannot_be_started_leaves_the_id_of_the_main_one_which_is_let_go_of(breached, calls,
                                                                                         expected):
    daemon = breached(*calls)
    host = daemon.host
    assert let_go(host) == expected
    failed = [entry for entry in host.log() if entry.startswith("Error: Failed to create a thread ")]
    assert len(failed) == expected.count("main")
    refusing.refuse(host)
    assert daemon.step(), "the main thread continues as ever"
    daemon.captures_end()
    assert let_go(host) == sorted(expected + ["another"] * 6)
    host.terminate()
    assert host.log()[-3:] == texts.STOPPING
