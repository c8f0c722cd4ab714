"""The two places of the diagnostic log, and what a start makes of them."""
import pytest

from host import Process, product, texts

SECOND = "/tmp/thsentinel"
IN_THE_WAY = "in the way\n"


def spoil_first_place(host):
    host.remove(product.LOGS)
    host.put(product.LOGS, IN_THE_WAY)


def log_names(host):
    """The name of the log today, and that of tomorrow for a test at midnight."""
    return [f"root.{day}_00001.log"
            for day in host.shell("date +%m%d%y; date -d tomorrow +%m%d%y").split()]


def test_a_file_at_the_second_place_takes_no_line(make_host):
    host = make_host(store={"THHS_MONITOR_CPU": "exampled:80"},
                     processes=[Process(4321, "/opt/exampled", cpu=[90] * 5 + [0])])
    spoil_first_place(host)
    second = dict.fromkeys(log_names(host), "of somebody else\n")
    for name, text in second.items():
        host.put(f"{SECOND}/{name}", text)
    host.start()
    host.system_log_says("warning", f"<stamp>{texts.exceeded('CPU', 'exampled', 4321, 80, 90)}")
    assert host.get(product.LOGS) == IN_THE_WAY
    host.remove(product.LOGS)
    host.folder(product.LOGS)
    host.log_says(texts.MONITORING)  # each line tries the first place
    assert host.ask("files", SECOND) == second
    host.terminate()


@pytest.mark.parametrize("spoilt, has_folder, makes_one", [
    (True, True, True), (True, False, False), (False, True, False)],
    ids=["no first place", "no place at all", "a first place"])
def test_a_folder_of_the_logs_name_is_made_where_a_second_log_would_lie(make_host, spoilt, has_folder, makes_one):
    host = make_host(store={"THHS_POLL_INTERVAL": 600})
    if spoilt:
        spoil_first_place(host)
    if has_folder:
        host.folder(SECOND)
    names = log_names(host)
    host.start()
    found = [one[:3] for one in host.ask("tree", SECOND)]
    assert found in [[[name, "folder", 0o755]] for name in names] if makes_one else found == []
    assert host.exists(SECOND) == has_folder
    host.terminate()
