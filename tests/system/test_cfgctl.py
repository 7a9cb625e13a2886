"""cfgctl as a program: exit statuses, standard input, output that cannot be written, watching."""

import itertools
import os
import re
import signal
import subprocess

from sandbox.processes import wait_for
from sandbox.router import SOCKET


def test_program(router):
    router.socket = f"{SOCKET}.no"
    away = router.ctl("status", check=False)
    assert away.returncode == 1
    assert "No such file or directory. Is it running? Start it with 'cfgserver --s" in away.stderr
    router.socket = SOCKET
    router.start_service()
    assert router.ctl("--help").stderr == "" and router.ctl("--json", "status").stdout == "[]\n"
    failed = router.ctl("show", "T\x1b[2J", check=False)
    assert (failed.returncode, failed.stdout) == (1, "")
    assert failed.stderr.startswith("cfgctl: ") and "T\\x1b[2J" in failed.stderr
    assert router.ctl("show", check=False).returncode == 2
    assert re.search(r"\nRetry +integer +5\n", router.ctl("tables", "DynDns").stdout)
    for columns, number in ((("Interface=ppp0",), 1), (("Interface=ppp1", "Id=7"), 7), (("Interface=ppp0",), 8)):
        assert router.ctl("add", "DNSClientServer", *columns).stdout == f"{number}\n"
    router.ctl("set", "DNSClientServer", "Interface=ppp1", "Enable=0")
    router.ctl("delete", "DNSClientServer", "Id=8")
    assert [(row["Id"], row["Enable"]) for row in router.rows("DNSClientServer")] == [(1, 1), (7, 0)]
    assert router.ctl("show", "DNSClientServer", "Enable=0").stdout.splitlines()[1:] == [" 7       0  ppp1"]
    # Values and files from standard input.
    assert router.ctl("--json", "add", "DynDns", "Password@=-", "Hostname=@home", text="ge heim\n").stdout == '{"Id":1}\n'
    shown = router.ctl("show", "DynDns", "--show-secrets").stdout
    assert " ge heim " in shown and " @home " in shown
    imported = router.ctl("import", "-", text=router.ctl("export").stdout).stdout
    assert "DynDns: 0 added, 0 changed, 0 deleted, 1 un" in imported


def test_lost_output(router):
    def run(command, output, *closing):
        done = subprocess.run([*closing, router.bin / "cfgctl", command], stdout=output, stderr=subprocess.PIPE,
                              text=True, timeout=30)
        return done.returncode, done.stderr
    router.start_service()
    reader, writer = os.pipe()
    os.close(reader)
    with open("/dev/full", "wb") as full:
        for command in ("--help", "tables", "export"):
            status, errors = run(command, full)
            assert status == 1 and "No space left on device" in errors, command
            assert run(command, writer) == (-signal.SIGPIPE, ""), command
    # Without a standard output, nothing may be printed into the connection.
    assert "Bad file descriptor" in run("export", None, "sh", "-c", 'exec "$0" "$@" >&-')[1]


def test_watch(router):
    router.start_service()
    numbers, errors = itertools.count(), router.folder / "errors"

    def watch(*words):
        return router.start_program("watch" + words[0], ["sh", "-c", 'exec "$@" 2>"$0"', errors, router.bin / "cfgctl",
                                                         "watch", *words])

    def change_until(what, shown):
        wait_for(what, lambda: router.ctl("set", "etl", "Id=1", f"serial_no={next(numbers)}") and shown(), 40)
    endless = watch("--json", "etl")
    change_until("a change is shown", lambda: endless.count('"Table":"etl"}\n'))
    router.service.stop()
    router.start_service()
    change_until("the service's return is shown", lambda: "is back; any table may have changed\n" in errors.read_text())
    assert endless.stop(signal.SIGINT) == 0
    assert router.ctl("watch", "--timeout", "1").returncode == 0
    missed = router.ctl("watch", "--timeout", "1", "--count", "1", check=False)
    assert missed.returncode == 1 and "Only 0 of 1" in missed.stderr
    counted = watch("--count", "2")
    change_until("the first of two is shown", lambda: counted.count("  etl\n"))
    router.ctl("set", "etl", "Id=1", "serial_no=last")
    assert counted.wait(30) == 0


def test_exec(router):
    """A program for each new outcome: one at a time, bounded, with facts and no secrets in its environment."""
    router.start_service()
    router.ctl("add", "DynDns", "Hostname=home.example.org", "Interface=ppp0", "ServiceType=x", "Password=geheim",
               "ExpectedResultSubString=good")
    seconds = itertools.count(10)

    def watch(name, *words):
        program = router.start_program(name, ["sh", "-c", 'exec "$@" 2>&1', "sh", router.bin / "cfgctl", "watch", *words])
        program.wait_catches("cfgctl", signal.SIGCHLD)  # once it knows what the log holds already
        return program

    def finish(code, response, account=1):
        time = f"2026-03-01T17:45:{next(seconds)}+0100"
        router.ctl("add", "DynDnsLog", f"DynDnsId={account}", f"Timestamp={time}", f"ResponseCode={code}",
                   f"Response={response}")
        return time
    finish(200, "good and old")
    shell = ["sh", "-c", 'env | grep "^QUORVAD_[^BS]" | sort; ls -l /proc/self/fd; echo "$1" $(wc -c); exit $QUORVAD_CODE']
    facts = watch("facts", "--exec", *shell, "-x", "--count  1")
    time = finish(3, "&lt;b&gt;wrong geheim at https://a.example/?p=geheim")
    facts.wait_log("ended with status 3")
    shown = facts.log()
    wanted = ("ACCOUNT=1", "ANSWER=<b>wrong ******** at ********", "CODE=3", "HOST=home.example.org", "INTERFACE=ppp0",
              "OUTCOME=failed", "PREVIOUS=updated", f"TIME={time}")
    assert "".join(f"QUORVAD_{line}\n" for line in wanted) in shown and "--count  1 0\n" in shown
    assert f"'sh' ended with status 3; it was run for account 1, failed at {time}\n" in shown
    assert shown.count("->") == 4 and "socket:" not in shown  # three standard streams and that of ls
    router.service.stop()
    router.start_service()
    wait_for("the service's return", lambda: facts.count("is back"), 40)
    finish(0, "good")
    facts.wait_log("ACCOUNT=1", times=2)
    assert facts.stop() == 0

    slow = watch("slow", "--exec-limit", "1", "--count", "2", "--exec", "sh", "-c", "trap '' TERM; sleep 50 & wait; wait")
    finish(200, "good"), finish(200, "good"), finish(200, "good")
    assert slow.wait(30) == 0
    assert slow.count("runs for more than 1 s and is ended") == 2 == slow.count("was ended by signal 9")
    stopped = watch("stopped", "--exec", "sh", "-c", "echo started; sleep 50")
    finish(200, "good")
    stopped.wait_log("started")
    assert stopped.stop(signal.SIGINT, 20) == 0
    # What is killed along with its shell is for init to collect.
    wait_for("no sleep", lambda: subprocess.run(["pgrep", "-x", "sleep"], check=False).returncode == 1, 10)
    for program, reason in (("no-such-program", "No such file or directory"), ("/tmp", "Permission denied")):
        missing = router.ctl("watch", "--exec", program, check=False)
        assert missing.returncode == 1 and f"Cannot run '{program}': {reason}\n" in missing.stderr
    assert router.ctl("watch", "etl", "--exec", "true", check=False).returncode == 2
