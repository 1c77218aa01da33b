# Says what machine this is and what runs on it: `machine.py FILE`. The file receives a row for each thing.

import os
import platform
import re
import subprocess
import sys

import shared

RIVALS = ("acpid", "dbus-daemon", "libzmq5", "libplist3", "libbenchmark1debian")


def first_line(*command):
    return subprocess.run(command, stdout=subprocess.PIPE, check=True).stdout.decode().splitlines()[0]


def found(pattern, file):
    with open(file) as opened:
        return re.search(pattern, opened.read(), re.M).group(1).strip()


def things():
    yield "processor", found(r"^model name\s*: (.*)$", "/proc/cpuinfo")
    yield "processors", os.cpu_count()
    yield "virtual machine", "yes" if "hypervisor" in found(r"^flags\s*: (.*)$", "/proc/cpuinfo").split() else "no"
    yield "memory", "%.0f GB" % (int(found(r"^MemTotal:\s*(\d+)", "/proc/meminfo")) / 2**20)
    yield "kernel", "%s %s" % (platform.system(), platform.release())
    yield "system", found('^PRETTY_NAME="(.*)"$', "/etc/os-release")
    yield "compiler", first_line("c++", "--version")
    yield "build", found("^CMAKE_CXX_FLAGS_RELWITHDEBINFO:STRING=(.*)$", os.path.join(shared.BUILD, "CMakeCache.txt"))
    yield "load before the run", "%.2f" % os.getloadavg()[0]
    yield "kernel has md", "yes" if os.path.exists("/proc/mdstat") else "no"
    for package in RIVALS:
        yield package, first_line("dpkg-query", "--show", "--showformat", "${Version}\n", package)
    yield "Python", platform.python_version()


shared.write_table(sys.argv[1], ("thing", "is"), things())
