#!/usr/bin/python3
"""Writes an evidence tree with its log, as a daemon on a busy host would leave them, the same bytes every time.

usage: sample_evidence.py FOLDER [--samples N] [--processes N] [--seed N]

Makes FOLDER/thsentinel with two sets of tbrd (process 4321) ten minutes apart and one of the Java process adminconsole
(process 5000), and FOLDER/logs with the day's log. Measurements, tests and pictures use it; nothing of it is recorded
from a real host.
"""
import argparse
import datetime
import os
import pathlib
import random

RULE = '-' * 82
START = datetime.datetime(2026, 11, 13, 2, 10, 28)
INTERVAL = 5
TOTAL = 16318464
TARGET = 4321
JAVA = 5000


def section(command, output):
    return f'\n\n{RULE}\nCommand: {command}\n{RULE}\n{output}'


class Host:
    """The processes and the memory of the host over the time of a set."""

    def __init__(self, processes, seed, began):
        self.random = random.Random(seed)
        self.began = began
        names = ['tworker', 'thindexd', 'java', 'postgres', 'sshd', 'cron', 'kworker/0:1', 'nginx', 'systemd']
        self.processes = [
            {'pid': 10100 + 3 * number, 'name': self.random.choice(names),
             'rss': int(self.random.paretovariate(1.1) * 900) % 600000, 'cpu': 0.0}
            for number in range(processes - 1)]
        self.target = {'pid': TARGET, 'name': 'tbrd', 'rss': 2100000, 'cpu': 180.0}
        self.processes.append(self.target)
        self.available = 3900000
        self.swap = 120000

    def step(self, number):
        self.available = max(180000, self.available - self.random.randint(20000, 110000))
        self.swap += self.random.randint(0, 9000) + (16000 if self.available < 1500000 else 0)
        self.target['rss'] += self.random.randint(30000, 60000)
        self.target['cpu'] = round(170 + 20 * self.random.random(), 1)
        for process in self.random.sample(self.processes[:-1], 20):
            process['cpu'] = round(self.random.expovariate(0.2), 1)
        self.load = 3.2 + number * 0.08 + self.random.random()

    def top(self, at):
        used = TOTAL - self.available
        lines = [
            f'top - {at:%H:%M:%S} up 41 days,  3:02,  1 user,  load average: {self.load:.2f}, {self.load * 0.8:.2f}, 2.39',
            f'Tasks: {len(self.processes)} total,   4 running, {len(self.processes) - 4} sleeping,   0 stopped,   2 zombie',
            '%Cpu(s): 61.0 us,  9.5 sy,  0.0 ni, 12.5 id, 16.0 wa,  0.0 hi,  1.0 si,  0.0 st ',
            f'MiB Mem : {TOTAL / 1024:8.1f} total, {self.available / 2048:8.1f} free, {used / 1024:8.1f} used, '
            f'{self.available / 2048:8.1f} buff/cache     ',
            f'MiB Swap: {4096:8.1f} total, {4096 - self.swap / 1024:8.1f} free, {self.swap / 1024:8.1f} used. '
            f'{self.available / 1024:8.1f} avail Mem ', '',
            '    PID USER      PR  NI    VIRT    RES    SHR S  %CPU  %MEM     TIME+ COMMAND']
        for process in sorted(self.processes, key=lambda process: -process['cpu']):
            lines.append(f'{process["pid"]:7d} root      20   0 {process["rss"] * 3:7d} {process["rss"]:6d}  19400 S '
                         f'{process["cpu"]:5.1f} {100 * process["rss"] / TOTAL:5.1f}   0:42.32 {process["name"]}')
        return '\n'.join(lines) + '\n'

    def listing(self):
        lines = ['    PID %MEM   RSS    VSZ    SZ  SIZE COMMAND']
        for process in self.processes:
            command = f'/usr/tarnv/tarnhaven/bin/{process["name"]} --instance {process["pid"]} --configuration default'
            lines.append(f'{process["pid"]:7d} {100 * process["rss"] / TOTAL:4.1f} {process["rss"]:5d} '
                         f'{process["rss"] * 3:6d} {process["rss"]:5d} {process["rss"]:5d}  \\_ {command}'[:120])
        return '\n'.join(lines) + '\n'

    def free(self):
        return ('               total        used        free      shared  buff/cache   available\n'
                f'Mem:     {TOTAL:11d} {TOTAL - self.available:11d} {self.available // 2:11d}       13616 '
                f'{self.available // 2:11d} {self.available:11d}\n'
                f'Swap:    {4194304:11d} {self.swap:11d} {4194304 - self.swap:11d}\n')

    def vmstat(self):
        return ('procs -----------memory---------- ---swap-- -----io---- -system-- ------cpu-----\n'
                ' r  b   swpd   free   buff  cache   si   so    bi    bo   in   cs us sy id wa st\n'
                f' {self.random.randint(2, 9)}  {self.random.randint(0, 5)} {self.swap:6d} {self.available // 2:6d}  66288 '
                f'{self.available // 2:6d}    1    7   874  1826  715 1900 42 20 22 16  0\n')

    def meminfo(self):
        return (f'MemTotal:       {TOTAL} kB\nMemFree:        {self.available // 2} kB\n'
                f'MemAvailable:   {self.available} kB\nBuffers:           66288 kB\nCached:         {self.available // 2} kB\n'
                f'SwapTotal:       4194304 kB\nSwapFree:        {4194304 - self.swap} kB\nCommitted_AS:   {TOTAL + 900000} kB\n')


def memory_statistics(host, samples):
    for number in range(samples):
        host.step(number)
        at = host.began + datetime.timedelta(seconds=INTERVAL * number)
        yield section('/usr/bin/top -b -n 1', host.top(at))
        yield section('/usr/bin/ps faxeo pid,pmem,rss,vsz,sz,size,args --width 120', host.listing())
        yield section('/usr/bin/free ', host.free())
        yield section('/usr/bin/vmstat ', host.vmstat())
        yield section('/usr/bin/cat /proc/meminfo', host.meminfo())


def sysstat_head():
    return f'Linux 6.1.0-28-amd64 (backup-07) \t{START:%m/%d/%y} \t_x86_64_\t(4 CPU)\n'


def iostat(host, samples):
    lines = [sysstat_head()]
    for number in range(samples):
        at = host.began + datetime.timedelta(seconds=INTERVAL * number)
        busy = min(99.8, 55 + number + host.random.random() * 8)
        lines.append(f'{at:%m/%d/%y %H:%M:%S}\navg-cpu:  %user   %nice %system %iowait  %steal   %idle\n'
                     f'          61.00    0.00    9.50   {busy / 4:5.2f}    0.00   12.50\n\n'
                     'Device            r/s     rkB/s   rrqm/s  %rrqm r_await rareq-sz     w/s     wkB/s   wrqm/s  %wrqm '
                     'w_await wareq-sz     d/s     dkB/s   drqm/s  %drqm d_await dareq-sz     f/s f_await  aqu-sz  %util')
        for device, share in (('sda', 1.0), ('sdb', 0.12)):
            lines.append(f'{device:10s} {90 * share:10.2f} {2400 * share:9.2f}     0.00   0.00 {busy * share / 4:7.2f}    26.67 '
                         f'{140 * share:7.2f} {5200 * share:9.2f}     4.00   2.78 {busy * share / 2.5:7.2f}    37.14    0.00'
                         f'      0.00     0.00   0.00    0.00     0.00    2.00    0.70 {busy * share / 20:7.2f} '
                         f'{busy * share:6.2f}')
        lines.append('\n')
    return section(f'/usr/bin/iostat -xt {INTERVAL} {samples}', '\n'.join(lines))


def mpstat(host, samples):
    names = '    %usr   %nice    %sys %iowait    %irq   %soft  %steal  %guest  %gnice   %idle'
    lines = [sysstat_head(), f'{host.began:%H:%M:%S}     CPU{names}']
    for number in range(1, samples + 1):
        at = host.began + datetime.timedelta(seconds=INTERVAL * number)
        user, wait = 55 + 8 * host.random.random(), 10 + number * 0.3 + 4 * host.random.random()
        lines.append(f'{at:%H:%M:%S}     all {user:7.2f}    0.00    9.50 {wait:7.2f}    0.00    0.75    0.10    0.00    0.00 '
                     f'{max(0.0, 89.65 - user - wait):7.2f}')
    lines.append('Average:     all   59.00    0.00    9.50   19.00    0.00    0.75    0.10    0.00    0.00   11.65')
    return section(f'/usr/bin/mpstat {INTERVAL} {samples}', '\n'.join(lines) + '\n')


def sockets(host):
    rows = [('0.0.0.0:8443', '0.0.0.0:*', 'LISTEN', f'{TARGET}/tbrd')]
    rows += [(f'10.0.4.7:{41000 + number}', '10.0.4.90:8443', 'CLOSE_WAIT', f'{TARGET}/tbrd') for number in range(46)]
    rows += [(f'10.0.4.7:{42000 + number}', '10.0.4.91:9000', 'CLOSE_WAIT', '412/tworker') for number in range(3)]
    rows += [(f'10.0.4.7:{43000 + number}', '10.0.9.15:5432', 'ESTABLISHED', f'{TARGET}/tbrd') for number in range(24)]
    rows += [(f'10.0.4.7:{44000 + number}', '10.0.9.15:443', 'TIME_WAIT', '-') for number in range(130)]
    return [f'tcp    {host.random.randint(1, 900) if row[2] == "CLOSE_WAIT" else 0:5d}      0 {row[0]:23s} {row[1]:23s} '
            f'{row[2]:11s} {row[3]:20s}' for row in rows]


def netstat(host):
    head = ('Active Internet connections (servers and established)\n'
            'Proto Recv-Q Send-Q Local Address           Foreign Address         State       PID/Program name    \n')
    rows = sockets(host)
    closing = '\n'.join(row for row in rows if 'CLOSE_WAIT' in row) + '\n'
    own = '\n'.join(row for row in rows if str(TARGET) in row) + '\n'
    every = head + '\n'.join(rows) + ('\nudp        0      0 0.0.0.0:68              0.0.0.0:*                           '
                                      '611/dhclient        \nActive UNIX domain sockets (servers and established)\n'
                                      'unix  3      [ ]         STREAM     CONNECTED     309161   7210/systemd         /run/x\n')
    statistics = ('Tcp:\n    1204 active connection openings\n    381 segments retransmitted\n    12 resets sent\n'
                  'TcpExt:\n    7 times the listen queue of a socket overflowed\n')
    tool = '/usr/bin/netstat'
    yield section(f'{tool} -p --tcp | grep CLOSE_WAIT', closing)
    yield section(f'{tool} -na | grep CLOSE_WAIT', closing)
    yield section(f'{tool} -e', head + '\n'.join(rows[1:]) + '\n')
    yield section(f'{tool} -s', statistics)
    yield section(f'{tool} -nalp', every)
    for arguments in ('-op', '-nop', '-anop', '-tanoxp'):
        yield section(f'{tool} {arguments} | /usr/bin/grep {TARGET}', own)


def smaps(heap, threads):
    rows = [('5561a0000000', 'r-xp', '/usr/tarnv/tarnhaven/bin/tbrd', 3072, 2800), ('5561a2000000', 'rw-p', '[heap]', heap, heap)]
    rows += [(f'7f00{number:04x}0000', 'rw-p', '', 8192, 96 + number % 7) for number in range(threads)]
    rows += [('7f1000000000', 'rw-p', '', 524288, 410000), ('7f2000000000', 'r--s', '/usr/tarnv/tarnhaven/data/catalog.idx', 262144, 181000),
             ('7f3000000000', 'r-xp', '/usr/lib/x86_64-linux-gnu/libc.so.6', 1840, 1500), ('7ffd00000000', 'rw-p', '[stack]', 132, 64)]
    lines = []
    for begin, access, name, size, resident in rows:
        end = f'{int(begin, 16) + size * 1024:x}'
        own = resident if 'w' in access else 0
        lines.append(f'{begin}-{end} {access} 00000000 00:00 0 {name:>40s}\nSize:           {size:8d} kB\nRss:            {resident:8d} kB\n'
                     f'Pss:            {resident:8d} kB\nPrivate_Clean:         0 kB\nPrivate_Dirty:  {own:8d} kB\nSwap:                  0 kB\n'
                     'VmFlags: rd wr mr mw me ac sd')
    return '\n'.join(lines) + '\n'


def stacks(threads):
    wait = ('#0  0x00007f3000091f16 in futex_abstimed_wait_cancelable () from /lib/x86_64-linux-gnu/libc.so.6\n'
            '#1  0x00007f30000945d8 in pthread_cond_wait () from /lib/x86_64-linux-gnu/libc.so.6\n'
            '#2  0x00005561a0012f00 in tb::Queue<tb::Chunk>::Pop(std::chrono::seconds) (this=0x7f10) at queue.cpp:88\n'
            '#3  0x00005561a0013a10 in tb::Worker::Run() () from /usr/tarnv/tarnhaven/bin/tbrd\n'
            '#4  0x00007f3000085134 in start_thread () from /lib/x86_64-linux-gnu/libc.so.6\n')
    spin = ('#0  0x00005561a0020ab3 in tb::Catalog::Compare(tb::Entry const&, tb::Entry const&) (this=0x1) at catalog.cpp:412\n'
            '#1  0x00005561a0021c40 in tb::Catalog::Merge(tb::Entries) () from /usr/tarnv/tarnhaven/bin/tbrd\n'
            '#2  0x00005561a0013a10 in tb::Worker::Run() () from /usr/tarnv/tarnhaven/bin/tbrd\n'
            '#3  0x00007f3000085134 in start_thread () from /lib/x86_64-linux-gnu/libc.so.6\n')
    main = ('#0  0x00007f300010a1a4 in epoll_wait () from /lib/x86_64-linux-gnu/libc.so.6\n'
            '#1  0x00005561a0001234 in main (argc=1, argv=0x7ffd) at main.cpp:57\n')
    text = ''
    for number in range(threads, 1, -1):
        text += (f'\nThread {number} (Thread 0x7f00{number:04x}06c0 (LWP {TARGET + number}) "worker-{number}"):\n'
                 + (spin if number in (4, 9) else wait))
    return text + f'\nThread 1 (Thread 0x7f0000000740 (LWP {TARGET}) "tbrd"):\n' + main


def process_data(pid, heap, threads):
    status = (f'Name:\ttbrd\nState:\tR (running)\nPid:\t{pid}\nFDSize:\t512\nVmPeak:\t {heap + 2000000} kB\nVmHWM:\t {heap + 700000} kB\n'
              f'VmRSS:\t {heap + 600000} kB\nVmSwap:\t       0 kB\nThreads:\t{threads}\nvoluntary_ctxt_switches:\t48211\n'
              'nonvoluntary_ctxt_switches:\t991204\n')
    yield section(f'/usr/bin/cat /proc/{pid}/smaps', smaps(heap, threads))
    yield section(f'/usr/bin/cat /proc/{pid}/status', status)
    yield section(f'/usr/bin/gstack {pid}', stacks(threads))
    yield section(f'/usr/bin/pmap {pid}', f'{pid}:   /usr/tarnv/tarnhaven/bin/tbrd\n00005561a0000000   3072K r-x-- tbrd\n total {heap + 2000000}K\n')


def thread_dump():
    text = f'{JAVA}:\n{START:%Y-%m-%d %H:%M:%S}\nFull thread dump OpenJDK 64-Bit Server VM (17.0.15+6 mixed mode, sharing):\n\n'
    frames = '\tat com.tarnhaven.console.{method}({file}.java:{line})\n'

    def thread(name, number, state, *rows):
        return (f'"{name}" #{number} prio=5 os_prio=0 cpu=1.00ms elapsed=90.00s tid=0x00007f0a{number:08x} nid=0x{number:x} '
                f'waiting  [0x00007f0a]\n   java.lang.Thread.State: {state}\n' + ''.join(rows) + '\n')

    first, second = '<0x00000000ffd19628>', '<0x00000000ffd19638>'
    text += thread('catalog-writer', 21, 'BLOCKED (on object monitor)', frames.format(method='Catalog.put', file='Catalog', line=210),
                   f'\t- waiting to lock {second} (a com.tarnhaven.console.Index)\n', f'\t- locked {first} (a com.tarnhaven.console.Catalog)\n')
    text += thread('index-writer', 22, 'BLOCKED (on object monitor)', frames.format(method='Index.flush', file='Index', line=77),
                   f'\t- waiting to lock {first} (a com.tarnhaven.console.Catalog)\n', f'\t- locked {second} (a com.tarnhaven.console.Index)\n')
    for number in range(30, 42):
        text += thread(f'http-{number}', number, 'BLOCKED (on object monitor)', frames.format(method='Catalog.get', file='Catalog', line=140),
                       f'\t- waiting to lock {first} (a com.tarnhaven.console.Catalog)\n')
    for number in range(50, 58):
        text += thread(f'pool-{number}', number, 'WAITING (parking)', '\tat jdk.internal.misc.Unsafe.park(java.base@17/Native Method)\n')
    text += ('JNI global refs: 24, weak refs: 0\n\n\nFound one Java-level deadlock:\n=============================\n'
             '"catalog-writer":\n  waiting to lock monitor 0x00007f096c0667f0 (object 0x00000000ffd19638, a com.tarnhaven.console.Index),\n'
             '  which is held by "index-writer"\n\n"index-writer":\n'
             '  waiting to lock monitor 0x00007f09780015a0 (object 0x00000000ffd19628, a com.tarnhaven.console.Catalog),\n'
             '  which is held by "catalog-writer"\n\nJava stack information for the threads listed above:\n\nFound 1 deadlock.\n')
    return text


def write_set(root, process, pid, number, label, began, samples, processes, heap, seed):
    folder = root / process / str(pid) / f'Evidence{number}'
    folder.mkdir(parents=True)
    (folder.parent / 'evidence.lock').touch(mode=0o600)
    stem = f'{pid}_{began:%d-%m_%H.%M.%S}_{label}'
    host = Host(processes, seed, began)
    files = {'MemoryPerf': memory_statistics(host, samples), 'Netstat': netstat(host), 'DiskPerf_iostat': [iostat(host, samples)],
             'DiskPerf_mpstat': [mpstat(host, samples)], 'ProcessData': process_data(pid, heap, 38)}
    if pid == JAVA:
        files['ThreadDump'] = [thread_dump()]
        files['hprof'] = ['JAVA PROFILE 1.0.2\0']
    end = began.timestamp() + INTERVAL * samples
    for suffix, texts in files.items():
        path = folder / f'{stem}.{suffix}'
        with path.open('w', encoding='utf-8') as file:
            file.writelines(texts)
        os.utime(path, (end, end))


def log_lines():
    def line(at, text, milliseconds=45):
        return f'{at:%Y-%m-%d %H:%M:%S}:{milliseconds:03d} - {text}\n'

    yield line(START - datetime.timedelta(hours=2), 'Tarnhaven Health Sentinel Service started')
    values = [3.1, 4.4, 4.1, 21.5, 44.2, 45.1, 45.9, 47.0, 47.2, 47.9, 48.5]
    for number, value in enumerate(values):
        at = START - datetime.timedelta(minutes=10 * (len(values) - 1 - number))
        yield line(at, f'CPU usage for process tbrd({TARGET}) : {value:.2f} Percent')
        yield line(at, f'CPU threshold for process tbrd({TARGET}) : 25 Percent')
    yield line(START, f'CPU threshold exceeded by process : tbrd ({TARGET}), Threshold : 25 Percent , Usage : 48.50 Percent')
    yield line(START, f'Taking Process Dump (Count #2) for process tbrd ({TARGET}).')
    for what in ('memory performance', 'network performance', 'disk io performance', 'process specific'):
        yield line(START, f'Thread (TID : 140) created to collect {what} data for threshold event generated by tbrd (PID : {TARGET})', 60)
    for target in (119, 128):
        yield line(START + datetime.timedelta(seconds=1), f'Original DebugLevel for process {target} is : 1.')
        yield line(START + datetime.timedelta(seconds=1), f'mDiagnosticLevel and  DebugLevel for the process {target} set to 6.')
    for seconds, what in ((1, 'Disk Performance'), (2, 'Process specific'), (4, 'Network Performance'), (262, 'Memory Performance')):
        yield line(START + datetime.timedelta(seconds=seconds), f'{what} data collected successfully.')
    yield line(START + datetime.timedelta(seconds=9), f'TakeMemorySnapshotAndDump (TID: 140) Dump has generated for pid {TARGET}')


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('folder', type=pathlib.Path)
    parser.add_argument('--samples', type=int, default=50)
    parser.add_argument('--processes', type=int, default=2000)
    parser.add_argument('--seed', type=int, default=7)
    options = parser.parse_args()
    root = options.folder / 'thsentinel'
    earlier = START - datetime.timedelta(hours=1)
    write_set(root, 'tbrd', TARGET, 1, 'CPU', earlier, 2, 40, 1100000, options.seed)
    write_set(root, 'adminconsole', JAVA, 1, 'Memory', START - datetime.timedelta(minutes=30), 2, 40, 900000, options.seed)
    write_set(root, 'tbrd', TARGET, 2, 'CPU', START, options.samples, options.processes, 1612000, options.seed)
    logs = options.folder / 'logs'
    logs.mkdir()
    (logs / f'root.{START:%m%d%y}_00001.log').write_text(''.join(log_lines()), encoding='utf-8')


main()
