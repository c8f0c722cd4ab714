"""The demo's own host: the real daemon, real tools and a process that really is busy."""
import re
import subprocess

from host import product


def run_demo(evidence):
    # Other tests are busy at the same time, so any use of the processors is a breach here.
    command = [product.CHECKOUT / "script/host", "--share", evidence, "--share", product.build_folder(), "--",
               "sh", product.CHECKOUT / "script/lib/demo_host.sh", product.build_folder(), evidence, "0"]
    return subprocess.run(command, stdin=subprocess.DEVNULL, capture_output=True, text=True, timeout=240)


def sections(output):
    """The text below each heading of the demo."""
    parts = re.split(r"^== (.*)\n", output, flags=re.MULTILINE)
    return dict(zip(parts[1::2], parts[2::2]))


def levels(number):
    return "".join(f"$ txlogcfg -p TH -o {target} -l\nDebugLevel = {number}\nDiagnosticLevel = {number}\n"
                   for target in (119, 128))


def test_it_shows_a_breach_from_the_start_to_the_restored_levels_and_leaves_the_evidence(
        hosts_possible, plain_build, tmp_path):
    done = run_demo(tmp_path)
    assert done.returncode == 0, done.stdout + done.stderr
    shown = {heading: text.rstrip("\n") + "\n" for heading, text in sections(done.stdout).items()}

    assert shown["Starting"].endswith("Info: Daemon is running\n\nPerformed the start operation successfully.\n")
    breach = re.compile(r"CPU threshold exceeded by process : tbrd \((\d+)\), Threshold : 0 Percent , "
                        r"Usage : \d+\.\d\d Percent$", re.MULTILINE)
    pid = breach.search(shown["The breach, in the diagnostic log"])[1]
    assert breach.search(shown["The breach, in the system log"])[1] == pid
    assert shown["The breach, in the system log"].startswith("<12>")  # user, warning

    assert shown["The log levels of tbrd before"] == levels(1)
    assert shown["The log levels while the service runs"] == levels(6)
    assert shown["Stopping"] == ("$ thsentinel -terminate\nPerforming the stop operation\n\n\n"
                                 "Performed the stop operation successfully.\n")
    assert shown["The log levels after"] == levels(1)

    assert "\nCommand: /usr/bin/top -b -n 1\n" in shown["The beginning of the memory statistics"]
    core = shown["The core image, as a debugger sees it"].splitlines()
    assert len([line for line in core if "Thread" in line]) >= 3 and core[-1] == 'Found in its memory: "Marker of the busy process"'

    left = sorted(str(path.relative_to(tmp_path)) for path in tmp_path.rglob("*") if path.is_file())
    left = [re.sub(r"_\d\d-\d\d_\d\d\.\d\d\.\d\d_", "_<time>_", name) for name in left]
    begin = f"thsentinel/tbrd/{pid}/Evidence1/{pid}_<time>_CPU"
    kinds = ["DiskPerf_iostat", "DiskPerf_mpstat", "MemoryPerf", "Netstat", "ProcessData"]
    report = ["report.html"] if product.has_companion() else []
    assert left == [*report, f"{begin}.{pid}", *(f"{begin}.{kind}" for kind in kinds),
                    f"thsentinel/tbrd/{pid}/evidence.lock"]
