"""What a build is configured to by who builds: a packager, a developer, a project that takes this one in."""
import json
import subprocess

import pytest

from host import product

# A project that takes this one in as a part.
OUTER = f"""cmake_minimum_required(VERSION 3.18)
project(outer LANGUAGES C CXX)
add_subdirectory({product.CHECKOUT} inner)
"""


@pytest.fixture
def configure(tmp_path):
    """Configures a build of a folder; gives the compiler calls by source file."""

    def run(*options, source=product.CHECKOUT):
        build = tmp_path / "build"
        done = subprocess.run(["cmake", "-S", source, "-B", build, "-G", "Ninja", *options], timeout=120,
                              cwd=tmp_path, capture_output=True, text=True, check=False)
        assert done.returncode == 0, done.stderr
        calls = json.loads((build / "compile_commands.json").read_text())
        return {call["file"].removeprefix(f"{product.CHECKOUT}/"): call["command"] for call in calls}

    return run


def sources_of_tests(calls):
    return [name for name in calls if name.startswith("tests/")]


def test_tests_are_built_and_warnings_are_no_errors_unless_somebody_says_otherwise(configure):
    calls = configure()
    assert sources_of_tests(calls)
    assert not [name for name, call in calls.items() if "-Werror" in call]
    assert "-Wconversion" in calls["src/cli/main.cpp"]


def test_no_test_is_built_where_testing_is_off(configure):
    calls = configure("-DBUILD_TESTING=OFF")
    assert "src/cli/main.cpp" in calls and not sources_of_tests(calls)


def test_no_test_is_built_as_a_part_of_another_project(configure, tmp_path):
    (tmp_path / "outer").mkdir()
    (tmp_path / "outer" / "CMakeLists.txt").write_text(OUTER)
    calls = configure("-DCMAKE_EXPORT_COMPILE_COMMANDS=ON", source=tmp_path / "outer")
    assert "src/cli/main.cpp" in calls and not sources_of_tests(calls)


@pytest.mark.parametrize("preset", ["dev", "release", "asan", "tsan", "coverage"])
def test_warnings_are_errors_in_every_preset(configure, preset):
    if "--preset" not in subprocess.run(["cmake", "--help"], capture_output=True, text=True, check=True).stdout:
        pytest.skip("this cmake is too old for presets")
    assert all("-Werror" in call for call in configure("--preset", preset).values())
