#!/usr/bin/env python3
"""The monitor's packaging as Prometheus and Grafana take it: the rules pass promtool's
check and their own unit tests, the scrape example is a valid configuration, and every
series the rules and the dashboard ask for is one the daemon serves.

  check_packaging.py PROMTOOL PACKAGING_MONITOR_DIR METRICS_PAGE_SOURCE
"""

import json
import os
import re
import subprocess
import sys


def main():
    promtool, folder, source = sys.argv[1:4]
    problems = []
    for args in (["check", "rules", "tavrix-alerts.yml"], ["test", "rules", "tavrix-alerts.test.yml"],
                 ["check", "config", "prometheus-scrape.yml"]):
        result = subprocess.run([promtool] + args, cwd=folder, capture_output=True, text=True)
        if result.returncode != 0:
            problems.append("promtool %s: %s%s" % (" ".join(args), result.stdout, result.stderr))
    served = set(re.findall(r'"(tavrix_[a-z_]+)"', open(source).read()))
    with open(os.path.join(folder, "tavrix-alerts.yml")) as rules:
        asked = {(name, "the rules") for name in re.findall(r"\b(tavrix_[a-z_]+)", rules.read())}
    with open(os.path.join(folder, "grafana-dashboard.json")) as dashboard:
        text = json.dumps(json.load(dashboard))
    asked |= {(name, "the dashboard") for name in re.findall(r"\b(tavrix_[a-z_]+)", text)}
    # A variable that may hold several units, or one in a repeated row, is put in as a regular
    # expression with its dots and brackets escaped: only =~ matches a name like "Rack A.1".
    for matcher in sorted(set(re.findall(r'[a-z_]+=\\"\$[a-z_]+\\"', text))):
        problems.append("the dashboard matches %s with = instead of =~" % matcher.replace('\\"', '"'))
    for name, where in sorted(asked):
        if name not in served:
            problems.append("%s asks for %s, which the daemon does not serve" % (where, name))
    if not served:
        problems.append("no series names found in " + source)
    print("\n".join(problems) if problems else "the rules, their tests, the scrape example and the dashboard agree "
          "with the %d series the daemon serves" % len(served))
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
