#!/usr/bin/env python3
"""Lists what the library calls of the platform, by header, and fails when docs/porting.md does not name it there.

platformUses.py [--build DIR]   needs the library's objects, not optimised (build/debug unless named). Looks at the calls
that the library's own functions make; types, constants, macros and virtual calls leave no trace there.
"""
import argparse
import collections
import pathlib
import re
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
PLATFORM = ROOT / 'platform'
FUNCTION = re.compile(r'^[0-9a-f]+ <(.*)>:$')
CALL = re.compile(r'R_X86_64_(?:PLT32|GOTPCRELX?|REX_GOTPCRELX|PC32|64)\s+(.*?)(?:[-+]0x[0-9a-f]+)?$')
NAMESPACES = ('Ivrel', 'Nodra', 'Quarra', 'QuarraCentral', 'QuarraCommon', 'QuarraTcam', 'QuarraTypes', 'Sdk', 'Vesk', 'Zev')
TEMPLATE_ARGUMENTS = re.compile(r'<[^<>]*>')


def plain(symbol):
    """A function's qualified name without template arguments, parameters and return type."""
    symbol = symbol.replace('(anonymous namespace)::', '').replace('[abi:cxx11]', '').replace('operator<<', 'operator_shift')
    symbol = symbol.replace('operator<=>', 'operator_order').replace('operator<', 'operator_less')
    while TEMPLATE_ARGUMENTS.search(symbol):
        symbol = TEMPLATE_ARGUMENTS.sub('', symbol)
    symbol = re.sub(r'\(.*', '', symbol.replace('operator()', 'operator_call'))
    return symbol.split(' ')[-1]


def headers_by_name():
    """The header that declares each class, and each free function, of the platform."""
    found = {}
    for path in sorted(PLATFORM.rglob('*.h')):
        text = path.read_text()
        for name in re.findall(r'^\s*(?:class|struct)\s+(?:\w+\s+)?(\w+)(?:\s*:[^;{]*)?\s*\{', text, re.M):
            found.setdefault(name, path)
        for name in re.findall(r'^[^/\n{};=]*[ *&](\w+)\((?!\()', text, re.M):
            found.setdefault(name, path)
    return found


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('--build', default='build/debug')
    objects = sorted((ROOT / parser.parse_args().build / 'QuarraTcamSdkBaseTypes').rglob('*.o'))
    if not objects:
        raise SystemExit('no objects of the library there')
    headers = headers_by_name()

    def header_of(name):
        *scopes, last = name.split('::')
        named = list(reversed(scopes)) if scopes and scopes[-1] not in NAMESPACES else [last]
        return next((headers[part] for part in named if part in headers), None)

    used = collections.defaultdict(set)
    for path in objects:
        text = subprocess.run(['objdump', '-drC', '--no-show-raw-insn', path], check=True, capture_output=True,
                              text=True).stdout
        inside = False
        for line in text.split('\n'):
            if m := FUNCTION.match(line):
                caller = plain(m[1])
                inside = caller.startswith('QuarraTcam::') and not header_of(caller.rsplit('::', 1)[0])
            elif inside and (m := CALL.search(line)):
                name = plain(m[1])
                if not name.startswith(('std::', '__', '.', 'operator')) and (header := header_of(name)):
                    used[str(header.relative_to(PLATFORM))].add('::'.join(name.split('::')[-2:]))
    rows = [row for row in (ROOT / 'docs/porting.md').read_text().split('\n') if row.startswith('| `')]
    missing = False
    for header in sorted(used):
        # A header without folder is in that of the one before it in its cell.
        row = next((row for row in rows if re.search(rf'`({header}|{pathlib.Path(header).name}|{pathlib.Path(header).parts[0]}/)`',
                                                     row.split('|')[1])), '')
        for name in sorted(used[header]):
            called = name.split('::')[-1]
            known = called == name.split('::')[0] or called.startswith(('~', 'operator')) or re.search(rf'\b{called}\b', row)
            missing |= not known
            print(f'{header}: {name}' + ('' if known else '   NOT IN docs/porting.md'))
    raise SystemExit(missing)


if __name__ == '__main__':
    main()
