"""What reaches the system's log, caught where its daemon would listen."""
import re

from host import Process, product, texts

BUSY = Process(4321, "/opt/exampled", cpu=90)


def test_a_breach_is_a_warning_with_its_time_stamp(make_host):
    host = make_host(store={"THHS_MONITOR_CPU": "exampled:80"}, processes=[BUSY])
    host.start()
    text = texts.exceeded("CPU", "exampled", 4321, 80, 90)
    host.system_log_says("warning", f"<stamp>{text}")
    datagram = next(one for one in host.ask("datagrams") if "exceeded" in one)
    assert re.fullmatch(rf"<12>\w{{3}} [ \d]\d \d\d:\d\d:\d\d thsentinel\[{host.daemon_pid()}\]: "
                        rf"{texts.STAMP.pattern}{re.escape(text)}", datagram)


def test_the_stamp_in_the_warning_is_that_of_the_log_line(make_host):
    host = make_host(store={"THHS_MONITOR_CPU": "exampled:80"}, processes=[BUSY])
    host.start()
    text = texts.exceeded("CPU", "exampled", 4321, 80, 90)
    host.system_log_says("warning", f"<stamp>{text}")
    datagram = next(one for one in host.ask("datagrams") if "exceeded" in one)
    assert datagram.partition("]: ")[2] in host.log_text().splitlines()


def test_nobody_at_the_system_log_changes_nothing(make_host):
    host = make_host(store={"THHS_MONITOR_CPU": "exampled:80"}, processes=[BUSY], system_log=False)
    host.start()
    host.log_says(texts.exceeded("CPU", "exampled", 4321, 80, 90))
    host.after_pass(6)
    host.terminate()


def test_with_nobody_at_the_system_log_its_entries_are_on_the_console_of_the_host(make_host):
    host = make_host(store={"THHS_POLL_INTERVAL": 600}, system_log=False)
    host.shell("mkfifo /dev/console")
    host.spawn("/bin/dash", "-c", "exec cat <>/dev/console >/seen")
    pid = host.start()
    host.log_says(texts.MONITORING)
    host.terminate()
    said = [text for _, text in (texts.ENTRY, texts.UP, texts.DOWN)]
    host.comes_to(lambda: host.get("/seen").split("\r\n")[:-1], [f"thsentinel[{pid}]: {one}" for one in said])


def test_a_foreground_action_leaves_no_entry(host):
    for option in ("-version", "-help", "-install", "-list_config", "-uninstall", "-terminate", "-wrong"):
        host.run(option)
    assert host.system_log() == []
    assert host.log() == []


def test_a_store_line_that_is_no_setting_is_reported_once_by_number(host):
    host.put(product.STORE, "# a comment\n\nno setting\nTHHS_EVIDENCE_PATH = /evidence\n= 5\n")
    host.start()
    entries = [one.partition(": ")[2] for one in host.ask("datagrams") if "line" in one]
    assert len([one for one in entries if re.search(r"\b3\b", one)]) == 1
    assert len([one for one in entries if re.search(r"\b5\b", one)]) == 1
    assert len(entries) == 2
