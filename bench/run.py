# SPDX-License-Identifier: Apache-2.0
"""Front of the benchmarks; scripts/bench builds and starts it."""
import argparse
import sys

import limits
import measurements
import programs
import report


def arguments():
    parser = argparse.ArgumentParser(
        prog="scripts/bench", description="Measures blocks, stages and parameters.")
    parser.add_argument("--instructions", action="store_true",
                        help="count instructions with callgrind instead of timing")
    parser.add_argument("--check", action="store_true",
                        help="measure what bench/limits.json limits, with kernels kept to AVX2, "
                        "and fail where a limit is exceeded")
    parser.add_argument("--programs", action="store_true",
                        help="time whole runs of orvane-render instead")
    parser.add_argument("--avx2", action="store_true", help="keep the kernels to AVX2")
    parser.add_argument("filter", nargs="?", default=".*",
                        help="measure only names that this regular expression matches")
    return parser.parse_args()


def main():
    args = arguments()
    if args.programs:
        print(report.programs(*programs.measure()))
        return 0
    name_filter = limits.name_filter(args.instructions) if args.check else args.filter
    if args.instructions:
        results, context = measurements.count_instructions(name_filter)
        text = report.instructions(results)
    else:
        results, context = measurements.time_all(name_filter, args.avx2 or args.check)
        text = report.times(results)
    print(f"{report.machine(context)}\n\n{text}\n")
    return 1 if args.check and limits.check(results, args.instructions) else 0


if __name__ == "__main__":
    sys.exit(main())
