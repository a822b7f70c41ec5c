#!/usr/bin/env python3
"""Runs commands that are written down, and compares what they print with what stands there.

transcripts.py TOOL [--write]

In tests/transcripts/*.txt, whole: a line "$ COMMAND" for bash, below it all that it prints, both outputs in one, and last
"exit CODE" where the code is not 0. A file runs in a folder of its own, which has the files of tests/transcripts/inputs.
--write writes the files anew: read the difference before you commit it. Two commands are there for them:

short [KEY...]                     JSON in as few lines as can be read; of the whole only these keys
tables 'NAME TYPE PORTS RULES'...  a configuration of a switch with the ports E1 to E8; the rules are R1, R2, ...

In README.md and docs/*.md: an indented "$ quarra-tcam ..." or "$ ./dev tool ..."; what is indented below is what it prints,
or lines of it that follow each other. Lines of a `batch -` that have an operation are its input.
"""
import argparse
import difflib
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import textwrap

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
TRANSCRIPTS = ROOT / 'tests/transcripts'
SHOWN = re.compile(r'    \$ (?:\./dev tool|quarra-tcam)(?= )')
WIDTH = 120


def short(value, indent=0):
    """JSON of which what fits stands in one line."""
    line = json.dumps(value)
    if len(line) + indent <= WIDTH or not isinstance(value, (dict, list)):
        return line
    blanks = ' ' * (indent + 1)
    if isinstance(value, dict):
        parts = [f'{json.dumps(key)}: ' + short(part, indent + 1) for key, part in value.items()]
        return '{' + f',\n{blanks}'.join(parts) + '}'
    if all(isinstance(part, (int, str)) for part in value):
        return textwrap.fill(line, WIDTH, subsequent_indent=blanks, break_long_words=False)
    return '[' + f',\n{blanks}'.join(short(part, indent + 1) for part in value) + ']'


def print_short(keys):
    for line in sys.stdin:
        if not line.startswith('{'):
            print(line, end='')
            continue
        value = json.loads(line)
        print(short({key: value[key] for key in keys} if keys else value))


def print_tables(tables):
    config = {f'PORT|E{port}': {} for port in range(1, 9)}
    for name, kind, ports, rules in map(str.split, tables):
        config[f'ACL_TABLE|{name}'] = {'type': kind, 'ports': [f'E{port}' for port in ports.split(',')]}
        for rule in range(1, int(rules) + 1):
            config[f'ACL_RULE|{name}|R{rule}'] = {'PRIORITY': 1000 - rule}
    print(json.dumps(config))


HELPERS = {'short': print_short, 'tables': print_tables}


class Folder:
    """Where commands run: the tool and the helpers on the path, inputs beside."""

    def __init__(self, path, tool):
        self.path = path
        (path / 'bin').mkdir()
        (path / 'bin/quarra-tcam').symlink_to(tool.resolve(strict=True))
        for helper in HELPERS:
            (path / 'bin' / helper).write_text(f'#!/bin/sh\nexec {shlex.join([sys.executable, __file__, helper])} "$@"\n')
            (path / 'bin' / helper).chmod(0o755)
        (path / 'scenarios').symlink_to(ROOT / 'scenarios')
        self.environment = dict(os.environ, PATH=f'{path}/bin:{os.environ["PATH"]}', LC_ALL='C.UTF-8')
        self.environment.pop('QUARRA_TRACE', None)

    def run(self, command, text=''):
        ran = subprocess.run(['bash', '-o', 'pipefail', '-c', command], cwd=self.path, env=self.environment,
                             encoding='utf-8', input=text, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        if re.search(r'^\$ |\n\n#', ran.stdout, re.M):
            raise SystemExit(f'this cannot be told from the transcript itself:\n$ {command}\n{ran.stdout}')
        return ran.stdout + (f'exit {ran.returncode}\n' if ran.returncode else '')


# ---- Transcripts

def played(text, folder):
    """The transcript as it comes out now. Comments stand at the top and behind empty lines."""
    lines = []
    in_comment = True
    for line in text.split('\n'):
        was_comment = in_comment and line.startswith('#')
        if line.startswith('$ '):
            lines += [line, folder.run(line[2:])]
        elif was_comment:
            lines.append(line)
        elif in_comment and lines and lines[-1].startswith('#'):
            lines.append('')
        in_comment = was_comment or not line
    return '\n'.join(lines)


# ---- Documents

def sessions(text):
    """(command, what is indented below it)"""
    lines = text.split('\n')
    starts = [i for i, line in enumerate(lines) if SHOWN.match(line)]
    for start in starts:
        end = start + 1
        while end < len(lines) and not SHOWN.match(lines[end]) and (not lines[end] or lines[end].startswith('    ')):
            end += 1
        shown = [line[4:] for line in lines[start + 1:end]]
        while shown and not shown[-1]:
            shown.pop()
        if shown:
            yield SHOWN.sub('quarra-tcam', lines[start]), shown


def changed_configuration(text):
    """The patch that the walkthroughs show, and the configuration that it makes."""
    shown = re.search(r'^    (\[ \{ "op".*?\} \])$', text, re.M | re.S)[1]
    config = json.loads((ROOT / 'scenarios/overlap.json').read_text())
    for operation in json.loads(shown):
        table, row, *field = operation['path'].split('/')[1:]
        place, name = (config[f'{table}|{row}'], field[0]) if field else (config, f'{table}|{row}')
        place[name] = operation['value']
    return shown, json.dumps(config)


def contains(lines, part):
    return any(lines[i:i + len(part)] == part for i in range(len(lines) - len(part) + 1))


def documents_differ(folder):
    patch, config = changed_configuration((ROOT / 'docs/walkthroughs.md').read_text())
    (folder.path / 'patch.json').write_text(patch)
    (folder.path / 'new.json').write_text(config)
    number = 0
    failed = 0
    for document in [ROOT / 'README.md', *sorted((ROOT / 'docs').glob('*.md'))]:
        for command, shown in sessions(document.read_text()):
            number += 1
            lines = [line for line in shown if command.endswith('batch -') and '"op":' in line]
            printed = folder.run(command, ''.join(line + '\n' for line in lines))
            wanted = [line for line in shown if line not in lines]
            if not contains(printed.split('\n'), wanted):
                failed += 1
                print(f'{document.name}: {command}\nshows\n', *wanted, '\nbut this is printed\n', printed, sep='\n')
    print(f'{number} commands of documents, {failed} print something else')
    return failed > 0 or number == 0


def main():
    if sys.argv[1:2] and sys.argv[1] in HELPERS:
        HELPERS[sys.argv[1]](sys.argv[2:])
        return
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('tool', type=pathlib.Path)
    parser.add_argument('--write', action='store_true')
    options = parser.parse_args()
    transcripts = sorted(TRANSCRIPTS.glob('*.txt'))
    failed = not transcripts
    for transcript in transcripts:
        with tempfile.TemporaryDirectory() as place:
            shutil.copytree(TRANSCRIPTS / 'inputs', place, dirs_exist_ok=True)
            text = transcript.read_text()
            now = played(text, Folder(pathlib.Path(place), options.tool))
        if options.write:
            transcript.write_text(now)
        elif now != text:
            failed = True
            print(*difflib.unified_diff(text.split('\n'), now.split('\n'), str(transcript.relative_to(ROOT)),
                                        'printed now', lineterm=''), sep='\n')
    with tempfile.TemporaryDirectory() as place:
        failed = documents_differ(Folder(pathlib.Path(place), options.tool)) or failed
    sys.exit(failed)


main()
