# SPDX-License-Identifier: GPL-3.0-or-later
"""Two processes keep a run: the inner one does everything, the outer one watches it.

Both are subreapers, so whichever of them is killed, the other still has every
process of the run below it and can clean up. The outer one judges the result.
"""

import os
import signal
import subprocess
import sys

from . import crashes, desktop, namespaces, processes
from .bed import Bed, Failure
from .servers import prepare_servers, start_servers

SIGNALS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP, signal.SIGQUIT)

EXIT_BROKEN = 70  # the bed could not be made, or something was left behind
EXIT_REPORTED = 71  # the command was content, a sanitizer was not
EXIT_TIMEOUT = 124


class Stopped(Exception):
    """A signal asks for the end."""

    def __init__(self, number):
        super().__init__(number)
        self.number = number


def _say(text):
    print(f"testbed: {text}", file=sys.stderr, flush=True)


def listen(handler):
    """Has every signal that asks for the end go to the handler."""
    for number in SIGNALS + (signal.SIGALRM,):
        signal.signal(number, handler)


def raise_stopped(number, _frame):
    """A handler for `listen`."""
    # Once: from here on everything is bounded, and a second signal must not break into the cleaning.
    listen(signal.SIG_IGN)
    raise Stopped(number)


def run_command(bed, command):
    """Waits for the command and for nothing else. Returns the exit code a shell would give."""
    try:
        child = bed.launch(command)
    except OSError as error:
        _say(f"cannot run {command[0]}: {error.strerror}")
        return 127
    try:
        # Orphans of the command are ours to collect; they must not end the wait.
        while True:
            pid, status = os.waitpid(-1, 0)
            for server in bed.running.values():
                if server.pid == pid:
                    server.returncode = os.waitstatus_to_exitcode(status)
            if pid == child.pid:
                code = child.returncode = os.waitstatus_to_exitcode(status)
                return 128 - code if code < 0 else code
    except Stopped as stop:
        child.send_signal(signal.SIGTERM if stop.number == signal.SIGALRM else stop.number)
        try:
            child.wait(5)
        except subprocess.TimeoutExpired:
            child.kill()
        raise


def _inner(bed, options):
    code = EXIT_BROKEN
    try:
        if options.timeout:
            signal.alarm(options.timeout)
        bed.furnish()
        start_servers(bed, options)
        if options.desktop:
            desktop.start_screen(bed, options.scale)
        bed.start_bus()
        if options.desktop:
            desktop.start_desktop(bed, options.desktop, options.scale)
        bed.save_exports()
        code = run_command(bed, options.command)
        if code != 0:
            options.crashed[0] = crashes.count_in(bed) > 0
    except Stopped as stop:
        if stop.number == signal.SIGALRM:
            _say(f"stopped after {options.timeout} s")
            code = EXIT_TIMEOUT
        else:
            code = 128 + stop.number
    except Failure as failure:
        _say(str(failure))
    finally:
        listen(signal.SIG_IGN)
        logs = {name: bed.log_of(name) for name in bed.running} if code != 0 and options.logs else {}
        bed.close()
        code = judge(bed.reports, options, code)
        for name, text in logs.items():
            _say(f"log of {name}:\n{text}")
    return code


def judge(reports, options, code):
    """The run's exit code, given its command's and what sanitizers reported."""
    for report in reports:
        _say(f"a sanitizer's report, {report}")
    if reports:
        options.crashed[0] = False  # whatever else happened, it would be lost if all were repeated
        code = code or EXIT_REPORTED
    return code


def run(options):
    """Makes the bed, runs the command in it, takes everything away. Returns the exit code."""
    if options.netns:
        try:
            prepare_servers(options)
            namespaces.enter_private_network()
        except OSError as error:
            _say(f"no network namespace to be had: {error}")
            return EXIT_BROKEN
        except Failure as failure:
            _say(str(failure))
            return EXIT_BROKEN
    return crashes.again(options, _run_once)


def _run_once(options):
    processes.become_subreaper()
    bed = Bed(options.netns, options.name)
    outer = os.getpid()
    # Held back until both sides have their handlers.
    signal.pthread_sigmask(signal.SIG_BLOCK, SIGNALS)
    inner = os.fork()
    if inner == 0:
        code = EXIT_BROKEN
        try:
            listen(raise_stopped)
            processes.become_subreaper()
            processes.die_with_parent(signal.SIGTERM)
            signal.pthread_sigmask(signal.SIG_UNBLOCK, SIGNALS)
            if os.getppid() != outer:
                raise Stopped(signal.SIGTERM)
            code = _inner(bed, options)
        except Stopped as stop:
            bed.close()
            code = 128 + stop.number
        finally:
            sys.stdout.flush()
            sys.stderr.flush()
            os._exit(code)

    def forward(number, _frame):
        # A terminal signals both of us; the second one finds the inner process closing, deaf.
        processes.send([inner], number)

    listen(forward)
    signal.pthread_sigmask(signal.SIG_UNBLOCK, SIGNALS)
    code = os.waitstatus_to_exitcode(os.waitpid(inner, 0)[1])
    if code < 0:
        _say(f"the inner process was killed by signal {-code}")
        code = 128 - code
    bed.close()
    left = bed.what_is_left()
    if left:
        for line in left:
            _say(f"LEFT BEHIND: {line}")
        return EXIT_BROKEN
    _say("nothing left behind")
    return code
