"""A log folder that is there and takes no line: lines are lost, all else is done, and later lines come."""
import pytest

from host import Process, paced, product, texts

BUSY = Process(4321, "/opt/exampled", cpu=90)
WARNING = f"<stamp>{texts.exceeded('CPU', 'exampled', 4321, 80, 90)}"

# How the folder is spoilt, and how it is mended.
SPOILT = {
    "a read-only folder": (f"mount -n -t tmpfs -o ro none {product.LOGS}",
                           f"mount -n -o remount,rw {product.LOGS}"),
    "a full disk": (f"mount -n -t tmpfs -o size=64k none {product.LOGS} && "
                    f"! head -c 1M /dev/zero >{product.LOGS}/filler", f"rm {product.LOGS}/filler"),
}


@pytest.mark.parametrize("spoil, mend", SPOILT.values(), ids=SPOILT.keys())
def test_a_log_that_takes_nothing_costs_its_lines_alone_and_takes_later_ones(make_host, pace, spoil, mend):
    host = make_host(store={"THHS_MONITOR_CPU": "exampled:80", "THHS_DUMP_COUNT": 1}, processes=[BUSY])
    host.folder(product.LOGS)
    host.shell(f"{{ {spoil}; }} 2>/dev/null")
    daemon = paced.Paced(host, pace)
    assert daemon.start().status == 0
    for _ in range(4):
        assert daemon.step()
    daemon.captures_end()
    assert "".join(text for name, text in host.ask("files", product.LOGS).items() if name != "filler") == ""
    assert host.system_log() == [texts.ENTRY, texts.UP, ("warning", WARNING)]
    assert len(host.evidence()) == 5
    host.shell(mend)
    assert daemon.step()
    assert host.log() == [*texts.load(host.store), texts.MONITORING]
    host.terminate()
    assert host.log()[-3:] == texts.STOPPING
