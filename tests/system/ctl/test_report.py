"""`report`: one page of a set, on the command line and in a browser."""
import html
import os
import pathlib
import re
import stat
import subprocess
import sys

import pytest

from host import browser, companion, missing_tools, product

SOURCES = pathlib.Path(__file__).resolve().parents[3]
RECORDED = pathlib.Path(__file__).with_name("recorded")  # see record.sh there
SERIES = bytes.fromhex("1f6f9f")  # the first line of each chart, on light ground
ELSEWHERE = "http" "://192.0.2.1/x"  # an address that nobody has
LARGEST_PAGE = 3 << 20
MOST_MEMORY = 64 << 10


def make_sample(folder, *more):
    subprocess.run([sys.executable, SOURCES / "script/lib/sample_evidence.py", folder, *more], check=True)
    return folder


@pytest.fixture(scope="module")
def sample(tmp_path_factory):
    return make_sample(tmp_path_factory.mktemp("sample"), "--processes", "60", "--samples", "12")


def report(sample, page, *more):
    return companion.run("report", *more, "--evidence", sample, "--log", sample / "logs", "--store",
                         companion.DEFAULTS, "-o", page)


@pytest.fixture(scope="module")
def page(sample, tmp_path_factory):
    target = tmp_path_factory.mktemp("page") / "report.html"
    assert report(sample, target, "--last").status == 0
    return target


def needs_browser():
    if browser.program() is None:
        pytest.skip("chromium is not installed")


def test_the_last_set_is_said_in_words_and_written_for_its_owner_alone(sample, tmp_path):
    done = report(sample, tmp_path / "page.html", "--last")
    assert done.status == 0
    assert done.output.splitlines()[0] == ("tbrd (4321) used 48.50 % of this machine's processors; "
                                           "its limit is 25 %.")
    assert done.output.splitlines()[-1] == f"Written: {tmp_path}/page.html"
    assert stat.S_IMODE(os.stat(tmp_path / "page.html").st_mode) == 0o600
    assert os.listdir(tmp_path) == ["page.html"]


def test_a_set_is_chosen_by_its_name_and_the_outcome_is_a_document(sample, tmp_path):
    done = report(sample, tmp_path / "page.html", "adminconsole", "--json")
    assert done.status == 1
    assert done.document["schema"] == "thsentinelctl.report/1"
    assert done.document["set"] == "adminconsole/5000/Evidence1/memory-20261113T014028"
    assert done.document["state"] == "incomplete"
    assert done.document["bytes"] == os.path.getsize(tmp_path / "page.html")
    assert "Java threads are deadlocked: they wait for each other for ever." in done.document["findings"]


@pytest.mark.skipif(os.getuid() != 0, reason="only the superuser can become another user")
def test_a_log_that_may_not_be_read_is_not_called_absent(tmp_path):
    make_sample(tmp_path / "sample", "--processes", "30", "--samples", "2")
    for path in [tmp_path, *list(tmp_path.parents)[:-2]]:
        path.chmod(path.stat().st_mode | 0o011)
    [log] = (tmp_path / "sample/logs").glob("root.1113*")
    log.chmod(0)
    done = companion.run("report", "--last", "--evidence", tmp_path / "sample", "--log", tmp_path / "sample/logs",
                         "--store", "/absent", "-o", "-", user=65534)
    said = f"The log {log} can&#39;t be read: Permission denied"
    assert f"{said}; reading, limit and timeline are not known." in done.output
    assert f"{said}, so there is no timeline." in done.output
    assert "There is no log" not in done.output and "There is no diagnostic log" not in done.output


def test_the_last_set_is_one_that_has_files(tmp_path):
    folder, _ = companion.write_set(tmp_path)
    empty = folder.with_name("Evidence2")
    empty.mkdir()
    done = report(tmp_path, tmp_path / "page.html", "--last", "--json")
    assert done.document["set"].startswith("tbrd/4321/Evidence1/cpu-")
    for path in folder.iterdir():
        path.unlink()
    none = report(tmp_path, tmp_path / "none.html", "--last")
    assert f"there is no evidence set with a file below {tmp_path}/thsentinel" in none.errors
    assert not (tmp_path / "none.html").exists()


def test_standard_output_holds_the_page_alone(sample):
    done = report(sample, "-", "--last")
    assert done.output.startswith("<!DOCTYPE html>")
    assert done.output.endswith("</html>\n")


def test_wrong_use_and_what_cannot_be_written_have_their_own_status(sample, tmp_path):
    assert companion.run("report", "--last", "--evidence", sample).status == 64
    assert companion.run("report", "-o", tmp_path / "page.html", "--evidence", sample).status == 64
    done = report(sample, tmp_path / "absent/page.html", "--last")
    assert done.status == 3
    assert done.errors == f"thsentinelctl: {tmp_path}/absent/page.html can't be written: No such file or directory\n"
    done = report(tmp_path, tmp_path / "page.html", "--last")
    assert done.status == 3
    assert os.listdir(tmp_path) == []


def test_a_set_without_its_files_and_its_log_is_a_page_that_says_so(tmp_path):
    folder, stem = companion.write_set(tmp_path)
    for path in folder.iterdir():
        path.write_bytes(b"\0\xff" * 5000 if path.suffix == ".Netstat" else b"")
    done = companion.run("report", "--last", "--evidence", tmp_path, "--log", "/absent", "-o", tmp_path / "page.html")
    assert done.status == 1
    text = (tmp_path / "page.html").read_text()
    assert "The folder of the logs, /absent, can&#39;t be read: No such file or directory." in text
    assert "The set has no memory statistics." in text
    assert f"{stem}.MemoryPerf: holds no byte" in text


def words(page):
    """The page as a reader has it: its texts, a bar between two."""
    text = re.sub("<script>.*?</script>|<style>.*?</style>|<svg.*?</svg>", "", page.read_text(), flags=re.S)
    return re.sub(r"[|\s]*\|[|\s]*", "|", html.unescape(re.sub("<[^>]+>", "|", text)))


def test_evidence_recorded_with_the_tools_of_debian_13_is_read_in_all_its_sections(tmp_path):
    arguments = ("--evidence", RECORDED / "trixie", "--store", companion.DEFAULTS)
    assert companion.run("verify", *arguments).status == 0
    assert companion.run("report", "--last", *arguments, "--log", "/absent", "-o", tmp_path / "page.html").status == 0
    text = words(tmp_path / "page.html")
    [pid] = os.listdir(RECORDED / "trixie/thsentinel/tbrd")
    for expected in ("|recorder, 2 processors, 23.6 GiB of memory, Linux 6.18.44", "|2 samples from 00:14:1",
                     "|Processes that want to run|", f"|{pid}|/tmp/tbrd /tmp/target.py|",
                     "|State of its first thread|S (sleeping)|Threads|3|", "|[heap]|1.25 MiB|1.25 MiB|", "|vda|",
                     "|tcp|CLOSE_WAIT|4|4|", "|tcp|FIN_WAIT2|4|0|", f"|127.0.0.1|{pid}/tbrd|4|4|",
                     "|3 threads with 2 different stacks, from the stack listing of the capture.",
                     "|2 threads|clock_nanosleep (libc.so.6)|called from|_PyEval_EvalFrameDefault|", "|complete|"):
        assert expected in text, expected


def test_threads_come_from_the_core_where_no_stacks_were_captured(tmp_path):
    if missing_tools(["gcore", "gdb"]):
        pytest.skip("gdb is not installed")
    folder, stem = companion.write_set(tmp_path)
    asleep = subprocess.Popen(["/usr/bin/sleep", "600"])
    try:
        subprocess.run(["gcore", "-o", folder / stem, str(asleep.pid)], check=True, capture_output=True, timeout=60)
    finally:
        asleep.kill()
        asleep.wait()
    os.rename(folder / f"{stem}.{asleep.pid}", folder / f"{stem}.4321")
    companion.run("report", "--last", "--evidence", tmp_path, "--log", "/absent", "-o", tmp_path / "page.html")
    text = (tmp_path / "page.html").read_text()
    assert "1 thread with 1 different stack, from the core image." in text
    assert "clock_nanosleep" in text


def test_a_default_set_makes_a_page_of_modest_size_with_modest_memory(tmp_path):
    make_sample(tmp_path / "sample")
    (tmp_path / "run").mkdir()
    done = companion.run_measured(tmp_path / "run", "report", "--last", "--evidence", tmp_path / "sample", "--log",
                                  tmp_path / "sample/logs", "--store", companion.DEFAULTS, "-o", tmp_path / "page.html")
    assert done.status == 0
    assert os.path.getsize(tmp_path / "page.html") < LARGEST_PAGE
    if not product.is_built_with("-fsanitize="):
        assert done.peak < MOST_MEMORY


def test_the_page_draws_its_charts_without_a_complaint_or_a_request(page, tmp_path):
    needs_browser()
    visit = browser.Visit(tmp_path, page)
    assert visit.console == []
    assert visit.requests == set()
    charts = re.findall(r'<figure class="chart[^"]*"', visit.document)
    assert len(charts) == 8
    assert set(charts) == {'<figure class="chart is-live"'}
    assert visit.document.count("<canvas") >= len(charts)
    # The same look at a page that was tampered with finds both.
    bad = tmp_path / "bad.html"
    text = page.read_text().replace("</main>", f'</main><img src="{ELSEWHERE}"><script>1</script>')
    bad.write_text(text)
    assert len(browser.Visit(tmp_path, bad).console) == 2
    bad.write_text(re.sub('<meta http-equiv="Content-Security-Policy"[^>]*>', "", text))
    assert browser.Visit(tmp_path, bad).requests == {ELSEWHERE}


def test_the_time_axis_of_two_samples_has_both_times(tmp_path):
    needs_browser()
    done = companion.run("report", "--last", "--evidence", RECORDED / "trixie", "--log", "/absent",
                         "--store", companion.DEFAULTS, "-o", tmp_path / "page.html")
    assert done.status == 0
    document = browser.Visit(tmp_path, tmp_path / "page.html").document
    [chart] = re.findall('<figure[^>]*id="chart-memory".*?</figure>', document, flags=re.S)
    assert re.findall('dygraph-axis-label-x[^>]*>([^<]*)<', chart) == ["00:14:17", "00:14:18"]


def test_the_page_is_whole_without_scripts_and_on_paper(page, tmp_path):
    needs_browser()
    plain = tmp_path / "plain.html"
    plain.write_text(re.sub("<script>.*?</script>", "", page.read_text(), flags=re.S))
    plain.write_text(re.sub(r'<section id="(?!timeline).*?</section>', "", plain.read_text(), flags=re.S))
    assert browser.colours(tmp_path, plain, 900, 1200).get(SERIES, 0) > 300
    paper = browser.print_to_pdf(tmp_path, page)
    assert paper.startswith(b"%PDF")
    assert len(re.findall(rb"/Type\s*/Page\b", paper)) >= 6
