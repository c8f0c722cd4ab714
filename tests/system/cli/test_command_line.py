"""Each form of the command line with its whole output and its status."""
import signal

import pytest

from host import Process, product, texts

INSTALL_NOTES = ("Info: THHS_EVIDENCE_PATH is a mandatory setting to start the thsentinel.\n"
                 "Please set the THHS_EVIDENCE_PATH value in Tarnhaven configuration and perform "
                 "'thsentinel -start' to start the process.\n")
SHORT_NAME = product.PROGRAM[:15]
INVALID = "Error: Invalid arguments" + texts.HELP.format(SHORT_NAME)


@pytest.mark.parametrize("option", ["-version", "-VERSION", "-Version"])
def test_the_version_is_one_line_in_any_case_of_the_option(host, option):
    assert host.run(option) == (0, texts.VERSION, "")


@pytest.mark.parametrize("option", ["-help", "-HELP"])
def test_the_help_names_the_program_as_typed_cut_to_15_characters(host, option):
    assert host.run(option) == (0, texts.HELP.format(SHORT_NAME), "")


def test_the_help_names_a_short_path_whole(host):
    folder = product.HOME + "/bin"
    assert host.run("./thsentinel", "-help", folder=folder) == (0, texts.HELP.format("./thsentinel"), "")


def test_the_help_names_the_program_by_the_name_that_it_was_started_with(host):
    for name in ("", "x", "x" * 14, "x" * 15, "x" * 16, "a %s %d b", "x" * 300):
        result = host.run("/bin/bash", "-c", f'exec -a "$0" {product.PROGRAM} -help', name)
        assert result == (0, texts.HELP.format(name[:15]), ""), name


@pytest.mark.parametrize("arguments", [
    ["-wrong"], ["start"], ["--start"], ["-star"], ["-start "], [""], ["-start", "-start"],
    ["-help", "extra"], ["-version", ""], ["-h"], ["-list-config"]])
def test_anything_else_gets_the_help_and_status_5(host, arguments):
    assert host.run(product.PROGRAM, *arguments) == (5, INVALID, "")
    assert host.daemons() == []


def test_an_invalid_option_prints_one_blank_line_before_the_usage(host):
    lines = host.run("-wrong").output.splitlines()
    assert lines[:3] == ["Error: Invalid arguments", "", lines[2]]
    assert lines[2].startswith(SHORT_NAME)


@pytest.mark.parametrize("option", ["-list_config", "-LIST_CONFIG"])
def test_the_configuration_listing_is_two_banners_and_nothing_between(host, option):
    expected = texts.begun("List configuration") + texts.done("List configuration")
    assert host.run(option) == (0, expected, "")


def test_install_prints_its_notes_every_time_and_needs_neither_store_nor_lock(host):
    host.remove(product.BASE + "/tmp")
    host.remove(product.STORE)
    expected = texts.begun("install") + INSTALL_NOTES + texts.done("install")
    assert host.run("-install") == (0, expected, "")
    assert host.run("-INSTALL") == (0, expected, "")
    assert not host.exists(product.BASE + "/tmp")


def test_uninstall_on_a_fresh_host_says_that_nothing_is_known_and_succeeds(host):
    expected = texts.begun("uninstall") + texts.NO_DETAILS + texts.done("uninstall")
    assert host.run("-uninstall") == (0, expected, "")
    assert host.run("-UnInstall") == (0, expected, "")
    assert not host.exists(product.RUN_LOCK)


def test_uninstall_stops_a_daemon(host):
    host.start()
    expected = texts.begun("uninstall") + "Info: stopped the daemon process\n" + texts.done("uninstall")
    assert host.run("-uninstall") == (0, expected, "")
    host.until_gone()
    assert host.exists(product.PROGRAM)
    assert host.exists(product.RUN_LOCK)


def test_uninstall_after_a_killed_daemon_is_silent(host):
    host.kill(host.start())
    host.until_gone()
    assert host.run("-uninstall") == (0, texts.begun("uninstall") + texts.done("uninstall"), "")


def test_terminate_on_a_fresh_host_fails_and_leaves_an_empty_run_lock(host):
    expected = texts.begun("stop") + texts.NO_DETAILS + texts.failed("stop")
    assert host.run("-terminate") == (9, expected, "")
    assert host.get(product.RUN_LOCK) == ""
    assert host.run("-TERMINATE") == (9, expected, "")


def test_terminate_stops_the_daemon_and_does_not_wait(host):
    pid = host.start()
    host.kill(pid, signal.SIGSTOP)  # it can't end now
    assert host.run("-terminate") == (0, texts.begun("stop") + texts.done("stop"), "")
    assert [one["pid"] for one in host.daemons()] == [pid]
    host.kill(pid, signal.SIGCONT)
    host.until_gone()


@pytest.mark.parametrize("option, label", [("-start", "start"), ("-START", "start"), (None, "run")])
def test_a_start_into_a_pipe_shows_its_first_banner_twice(host, option, label):
    """What is still buffered at the fork comes out of both processes."""
    arguments = [option] if option else []
    expected = texts.begun(label) * 2 + texts.IS_RUNNING + texts.done(label)
    assert host.run(*arguments) == (0, expected, "")
    assert [one["pid"] for one in host.daemons()] == [host.daemon_pid()]


@pytest.mark.parametrize("option, label", [("-start", "start"), (None, "run")])
def test_a_start_on_a_terminal_shows_each_line_once(host, option, label):
    arguments = [option] if option else []
    expected = texts.begun(label) + texts.IS_RUNNING + texts.done(label)
    assert host.run(*arguments, terminal=True) == (0, expected.replace("\n", "\r\n"), "")


def test_a_start_beside_a_running_daemon_reports_that_daemon(host):
    pid = host.start()
    expected = (texts.begun("start") + texts.ALREADY
                + texts.begun("start") + texts.IS_RUNNING + texts.done("start"))
    assert host.run("-start") == (0, expected, "")
    assert [one["pid"] for one in host.daemons()] == [pid]
    assert host.daemon_pid() == pid


def test_a_second_run_during_a_start_is_refused(host):
    first = host.spawn(product.PROGRAM, "-start")
    host.until(lambda: host.get(product.RUN_LOCK), "the daemon wrote its process id")
    host.kill(first, signal.SIGSTOP)  # it holds its lock for as long as the test needs
    busy = "Error: Another instance of run action in progressing state\n"
    assert host.run("-start") == (8, texts.begun("start") + busy + texts.failed("start"), "")
    assert host.run() == (10, texts.begun("run") + busy + texts.failed("run"), "")
    busy = "Error: Another instance of action in progressing state\n"
    assert host.run("-terminate") == (9, texts.begun("stop") + busy + texts.failed("stop"), "")
    assert host.run("-uninstall") == (7, texts.begun("uninstall") + busy + texts.failed("uninstall"), "")
    host.kill(first, signal.SIGCONT)
    assert host.wait(first).status == 0


@pytest.mark.parametrize("spoil", [
    f"rmdir {product.BASE}/tmp", f"mount -n -t tmpfs -o ro none {product.BASE}/tmp"],
    ids=["none", "read-only"])
def test_without_a_folder_for_the_locks_that_can_be_written_nothing_starts(host, spoil):
    host.shell(spoil)
    trouble = f"Error: Failed to create file {product.RUN_LOCK}\n"
    busy = "Error: Another instance of run action in progressing state\n"
    assert host.run("-start") == (8, texts.begun("start") + trouble + busy + texts.failed("start"), "")
    assert host.run() == (10, texts.begun("run") + trouble + busy + texts.failed("run"), "")
    busy = "Error: Another instance of action in progressing state\n"
    assert host.run("-terminate") == (9, texts.begun("stop") + trouble + busy + texts.failed("stop"), "")
    expected = texts.begun("uninstall") + texts.NO_DETAILS + texts.done("uninstall")
    assert host.run("-uninstall") == (0, expected, "")


def test_a_child_of_process_1_refuses_to_start(host):
    """The program is left behind by its parent, and becomes itself only once process 1 has taken it over."""
    host.put("/orphan", "until grep -q '^PPid:.1$' /proc/$$/status; do :; done\n"
                        f"exec {product.PROGRAM} -start >/said 2>&1\n")
    host.run("/bin/dash", "-c", "/bin/dash /orphan >/dev/null 2>&1 &")
    expected = texts.begun("start") + "Error: Current process parent pid is 1.\n" + texts.failed("start")
    host.comes_to(lambda: host.get("/said"), expected)
    host.until_gone()


def test_a_store_that_cannot_be_read_is_a_store_without_settings(host):
    host.remove(product.STORE)
    complaint = ("THHS_EVIDENCE_PATH is not set. It is a mandatory value. Please specify the path on the "
                 "file system, that has sufficient space to store logs.\n")
    assert host.run("-start") == (8, texts.begun("start") + complaint + texts.failed("start"), "")
    assert host.run() == (10, texts.begun("run") + complaint + texts.failed("run"), "")
    assert host.daemons() == []


def test_a_reverted_value_warns_on_the_console_and_starts(make_host):
    host = make_host(store={"THHS_DUMP_COUNT": 11}, processes=[Process(4321, "/opt/exampled")])
    first = texts.begun("start") + texts.REVERTED + "\n"
    assert host.run("-start") == (0, first * 2 + texts.IS_RUNNING + texts.done("start"), "")


# Notes each path that is looked for.
LOOKS = """
#define _GNU_SOURCE
#include <dlfcn.h>
#include <stdio.h>
#include <sys/stat.h>

static void note(const char* path)
{
    FILE* file = fopen("/run/looks", "a");
    if (file) {
        fprintf(file, "%s\\n", path);
        fclose(file);
    }
}

int stat(const char* restrict path, struct stat* restrict status)
{
    int (*real)(const char*, struct stat*) = dlsym(RTLD_NEXT, "stat");
    note(path);
    return real(path, status);
}

/* What a program calls for stat where the C library is older than 2.33. */
int __xstat(int version, const char* path, struct stat* status)
{
    int (*real)(int, const char*, struct stat*) = dlsym(RTLD_NEXT, "__xstat");
    note(path);
    return real(version, path, status);
}
"""
RELEASES = ["/etc/redhat-release", "/etc/oracle-release", "/etc/SuSE-release"]
TOOLS = [f"/usr/bin/{name}" for name in (
    "awk", "cat", "echo", "egrep", "free", "gcore", "grep", "gstack", "iostat", "ls", "mpstat", "netstat",
    "pmap", "ps", "sed", "top", "vmstat", "wc", "which")]


@pytest.mark.parametrize("option, times", [
    ("-version", 1), ("-help", 1), ("-install", 1), ("-list_config", 1), ("-wrong", 2)])
def test_each_action_looks_for_the_distribution_and_for_the_tools_in_order(host, interpose, option, times):
    """A wrong word makes it look once for the help and once for itself."""
    host.run(option, environment=interpose(host, LOOKS))
    assert host.get("/run/looks").splitlines() == (RELEASES * 2 + TOOLS) * times
