#!/usr/bin/env python3
"""Writes the benchmark report: a markdown table per family and a figure of
plots per family, from the figures the benchmark programs recorded.

Usage: report.py <figures.tsv> <output directory>

The sections of families without figures in this run are kept from the
report already in the output directory; the program logs listed are the
bench_*.txt files there.

Each line of the figures file (bench/common.hpp, record()) is: family, group,
size, series, value, unit, separated by tabs. A family gets one table (a row
per group and size, a column per series) and one figure with a plot per
group: every series that is not a ratio, against size, on logarithmic axes
of size.
"""
import collections
import math
import os
import sys


def processor_name():
    try:
        with open('/proc/cpuinfo') as f:
            for line in f:
                if line.startswith('model name'):
                    return line.split(':', 1)[1].strip()
    except OSError:
        pass
    return 'unknown processor'


def read(path):
    rows = []
    with open(path) as f:
        for line in f:
            parts = line.rstrip('\n').split('\t')
            if len(parts) != 6:
                continue
            family, group, size, series, value, unit = parts
            rows.append((family, group, int(size), series, float(value), unit))
    return rows


def table(rows):
    series = []
    for r in rows:
        if (r[3], r[5]) not in series:
            series.append((r[3], r[5]))
    cells = collections.OrderedDict()
    for family, group, size, name, value, unit in rows:
        cells.setdefault((group, size), {})[(name, unit)] = value
    head = ['case', 'n'] + ['%s (%s)' % s if s[1] != 'x' else s[0] for s in series]
    out = ['| ' + ' | '.join(head) + ' |', '|' + '---|' * len(head)]
    for (group, size), values in cells.items():
        line = [group, str(size)]
        for s in series:
            v = values.get(s)
            line.append('' if v is None else ('%.2fx' % v if s[1] == 'x' else '%.2f' % v))
        out.append('| ' + ' | '.join(line) + ' |')
    return '\n'.join(out)


def plot(family, rows, path, title):
    import matplotlib
    matplotlib.use('Agg')
    import matplotlib.pyplot as plt
    groups = []
    for r in rows:
        if r[5] != 'x' and r[1] not in groups:
            groups.append(r[1])
    if not groups:
        return False
    cols = min(4, len(groups))
    nrows = math.ceil(len(groups) / cols)
    fig, axes = plt.subplots(nrows, cols, figsize=(4.2 * cols, 3.3 * nrows), squeeze=False)
    for i, group in enumerate(groups):
        ax = axes[i // cols][i % cols]
        lines = collections.OrderedDict()
        unit = ''
        for _, g, size, name, value, u in rows:
            if g == group and u != 'x':
                lines.setdefault(name, []).append((size, value))
                unit = u
        for name, points in lines.items():
            points.sort()
            style = '-o' if name.startswith('ours') else '--s'
            ax.plot([p[0] for p in points], [p[1] for p in points], style, label=name, markersize=3)
        ax.set_xscale('log')
        ax.set_title(group, fontsize=9)
        ax.set_xlabel('n', fontsize=8)
        ax.set_ylabel(unit, fontsize=8)
        ax.tick_params(labelsize=7)
        ax.grid(True, alpha=0.3)
        ax.set_ylim(bottom=0)
        if i == 0:
            ax.legend(fontsize=6)
    for j in range(len(groups), nrows * cols):
        axes[j // cols][j % cols].axis('off')
    fig.suptitle(title, fontsize=10)
    fig.tight_layout()
    fig.savefig(path, dpi=90)
    plt.close(fig)
    return True


def earlier_sections(path):
    """The family sections of an earlier report, in order, by family."""
    sections = collections.OrderedDict()
    try:
        with open(path) as f:
            text = f.read()
    except OSError:
        return sections
    for part in text.split('\n## ')[1:]:
        family = part.split('\n', 1)[0].strip()
        if family != 'Program output':
            sections[family] = '## ' + part.rstrip('\n') + '\n'
    return sections


def main():
    figures, out_dir = sys.argv[1], sys.argv[2]
    os.makedirs(out_dir, exist_ok=True)
    rows = read(figures)
    cpu = processor_name()
    families = []
    for r in rows:
        if r[0] not in families:
            families.append(r[0])
    # A run of some programs only replaces their families' sections; the
    # others stay as the last run that measured them wrote them.
    report = os.path.join(out_dir, 'README.md')
    sections = earlier_sections(report)
    for family in families:
        mine = [r for r in rows if r[0] == family]
        text = ['## %s' % family, '']
        if plot(family, mine, os.path.join(out_dir, '%s.png' % family), '%s on %s' % (family, cpu)):
            text += ['![%s](%s.png)' % (family, family), '']
        text += [table(mine), '']
        sections[family] = '\n'.join(text)
    text = ['# Measured performance', '',
            'Processor: **%s**, one thread. Written by `bench/run.sh` from the benchmark programs in `bench/`; '
            'each measures ours and its peer in the same run, interleaved, and states how in its own output '
            '(the logs beside this file).' % cpu, '']
    text += list(sections.values())
    logs = sorted(l for l in os.listdir(out_dir) if l.startswith('bench_') and l.endswith('.txt'))
    if logs:
        text += ['## Program output', '']
        text += ['- [%s](%s)' % (l, l) for l in logs]
        text.append('')
    with open(report, 'w') as f:
        f.write('\n'.join(text))


if __name__ == '__main__':
    main()
