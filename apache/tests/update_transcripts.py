#!/usr/bin/env python3
"""update_transcripts.py TEST_PROGRAM SUITE   writes the suite's transcript anew, as its cases tell it now"""
import pathlib
import re
import subprocess
import sys

program, suite = sys.argv[1:]
transcript = pathlib.Path(__file__).parent / f"configurations/transcripts/{suite}.txt"
transcript.write_text("")  # every case fails, and prints what it tells


def output(argument):
    return subprocess.run([program, argument], stdout=subprocess.PIPE, check=False).stdout


told = b""
for line in output("--gtest_list_tests").decode().splitlines():
    name = line.split("#")[0].strip()
    if not line.startswith(" "):
        group = name
    elif re.fullmatch(rf"(.*/)?{suite}\.", group):
        told += b"".join(re.findall(rb"^(===.*?\n)\n(?:\S+: Failure|\[  FAILED)", output(f"--gtest_filter={group}{name}"), re.M | re.S))
transcript.write_bytes(told)
