#!/usr/bin/env python3
"""Writes synthetic reference files for benchmarks and fuzz seeds.

Every file gets the requested number of lines, drawn from a small key space
so that keys repeat, with comment lines, malformed lines and a few over-long
lines mixed in (rates set by --junk).

  scripts/gen-refdb.py --out DIR [--lines 4000] [--seed 1] [--junk 0.05]
                       [--files app,cat,rule,ips,dev,wrs]
"""
import argparse
import os
import random

FILES = {
    "app": "korad.app.db",
    "cat": "korad.cat.db",
    "rule": "korad.rule.db",
    "ips": "korad.ips.db",
    "dev": "korad.devdb.db",
    "wrs": ("wrs.security.conf", "wrs.parental.conf"),
}


def name(rng, words=("alpha", "beta", "gamma", "delta", "omega", "net", "cloud", "live")):
    return " ".join(rng.choice(words).title() for _ in range(rng.randint(1, 3))) + f" {rng.randint(0, 999)}"


def junk(rng):
    return rng.choice([
        "# comment line",
        "",
        "not a record",
        "12345",
        ",,,",
        "x" * rng.randint(260, 1200),          # longer than every line buffer
        "7,\"unterminated",
        "-1,-2,-3,negative",
        "4294967295,4294967295,4294967295",
    ])


def lines(rng, count, rate, make):
    out = []
    for _ in range(count):
        out.append(junk(rng) if rng.random() < rate else make())
    return "\n".join(out) + "\n"


def app_line(rng, keys):
    cat = rng.randint(1, 12)
    return f"{cat},{rng.randint(0, keys)},{rng.randint(0, 3)},{name(rng)}"


def dev_line(rng, keys):
    codes = [rng.randint(0, 8), rng.randint(0, 10)] + [rng.choice([0, rng.randint(1, keys)]) for _ in range(4)]
    texts = [name(rng) for _ in range(6)]
    if rng.random() < 0.02:
        texts[rng.randrange(6)] = "L" * 140  # over the 99-character text limit
    return ",".join(map(str, codes)) + "," + ",".join(f'"{t}"' for t in texts)


def wrs_files(rng, count, rate):
    sec = []
    section = None
    for i in range(count):
        if i == 0 or rng.random() < 0.02:
            section = rng.choice([1, 2, 1, 2, 1])
            sec.append(f'[{section},"section {section}"]')
        sec.append(junk(rng) if rng.random() < rate else f'cat={rng.randint(0, 200)},"{name(rng)}"')
    par = lines(rng, max(1, count // 4), rate, lambda: f'cat={rng.randint(0, 200)},"{name(rng)}"')
    return "\n".join(sec) + "\n", par


def main():
    ap = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    ap.add_argument("--out", required=True)
    ap.add_argument("--lines", type=int, default=4000)
    ap.add_argument("--seed", type=int, default=1)
    ap.add_argument("--junk", type=float, default=0.05, help="share of comment and malformed lines")
    ap.add_argument("--files", default=",".join(FILES))
    args = ap.parse_args()

    rng = random.Random(args.seed)
    keys = max(4, args.lines // 2)  # about two lines per key: many duplicates
    os.makedirs(args.out, exist_ok=True)
    n, rate = args.lines, args.junk
    makers = {
        "app": lambda: lines(rng, n, rate, lambda: app_line(rng, keys)),
        "cat": lambda: lines(rng, n, rate, lambda: f"{rng.randint(0, keys)},{name(rng)}"),
        "rule": lambda: lines(rng, n, rate, lambda: f"{rng.randint(1000, 1000 + keys)},{name(rng)}  # note\t"),
        "ips": lambda: lines(rng, n, rate, lambda: f" {rng.randint(1000, 1000 + keys)},{rng.randint(1, 5)},{rng.randint(1, 5)}\t"),
        "dev": lambda: lines(rng, n, rate, lambda: dev_line(rng, keys)),
    }
    for kind in args.files.split(","):
        if kind == "wrs":
            sec, par = wrs_files(rng, n, rate)
            for fname, text in zip(FILES["wrs"], (sec, par)):
                with open(os.path.join(args.out, fname), "w") as f:
                    f.write(text)
            continue
        with open(os.path.join(args.out, FILES[kind]), "w") as f:
            f.write(makers[kind]())


if __name__ == "__main__":
    main()
