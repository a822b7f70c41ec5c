#!/usr/bin/env python3
"""Changes the library in one place at a time and sees whether the tests notice.

mutants.py [COUNT|all] [SEED] [--build DIR] [--jobs N]   needs a finished build, build/debug unless named.

A mutant is one source file compiled anew and one library linked from it in build/mutants; the test programme, which
stays as it is, loads that library. A test that fails, a crash and a timeout kill it. Prints the survivors; build/mutants/verdicts.txt
has every verdict.
"""
import argparse
import concurrent.futures
import json
import os
import pathlib
import random
import re
import resource
import shlex
import shutil
import signal
import subprocess

ROOT = pathlib.Path(__file__).resolve().parent.parent
LIBRARY = 'QuarraTcamSdkBaseTypes'
SHARED_OBJECT = f'lib/lib{LIBRARY}.so'
SECONDS = 120
MEGABYTES = 4096

# In the order in which they run: those that notice most for their time first.
TESTS = ['Misuse*:HelperMisuse*:Pools*:Reservation*:RequestKeys*:Release*:Programming*:SourceTrunkMap*:Helpers*:'
         'TcamGroups*:Registry*:Translation*:Records*',
         'BatchOn*:BatchLines*:*BatchOn*:Apply*',
         '*SoakOnEveryVariant*',
         '*FullTables*:*FullFixedTables*-*255*:*64InPoolsOf8',
         '*Scenarios*',
         '*255InPoolsOf*:*64InPoolsOf8']

SWAPS = {'==': '!=', '!=': '==', '<': '<=', '<=': '<', '>': '>=', '>=': '>', '&&': '||', '||': '&&', '+': '-',
         '-': '+', '*': '+', '%': '/', '&': '|', '|': '&', '+=': '-=', '|=': '&=', '&=': '|=', '<<': '>>', '>>': '<<'}
OPERATOR = re.compile(r'(?<= )(' + '|'.join(re.escape(o) for o in sorted(SWAPS, key=len, reverse=True)) + r')(?= )')
NUMBER = re.compile(r'(?<![\w.\"])(0x[0-9a-fA-F]+|\d+)(?![\w.\"])')
STATEMENT = re.compile(r'^ +(?!return|const |auto |using |case |default|break|struct |static |constexpr |\})'
                       r'[\w:+*!][^;{}]*;$', re.M)
LEAVE = re.compile(r'^ +(continue|break);$', re.M)
CONDITION = re.compile(r'\b(if|while) \( ((?:[^;{}]|\{ *\w* *\})*?) \) \{$', re.M)


# What is no code to change: comments, the preprocessor's lines, traces, what the compiler checks, literals.
NO_CODE = re.compile(r'//[^\n]*|^#[^\n]*|\bTRACE\((?:[^;"]|"[^"]*")*?\);|template <[^\n]*|static_assert[^;]*;|'
                     r'"(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])\'', re.M)


def blanked(source):
    """The source with blanks for what is no code."""
    return NO_CODE.sub(lambda m: re.sub(r'[^\n]', ' ', m[0]), source)


def mutants_of(path):
    """(path, start, end, replacement, what) of every change."""
    source = path.read_text()
    code = blanked(source)

    def found(start, end, new, what):
        return (path, start, end, new, what)
    for m in OPERATOR.finditer(code):
        streams = m[0] == '<<' and not re.search(r'\b(U32|U64|\w*[cC]lassId\(\)|mask|chipId)\b[^\n]*$',
                                                 code[code.rfind('\n', 0, m.start()):m.start()])
        declares = m[0] in '*&' and re.search(r'(\w|>)$', code[:m.start() - 1]) is None
        if not streams and not declares:
            yield found(m.start(), m.end(), SWAPS[m[0]], f'{m[0]} -> {SWAPS[m[0]]}')
    for m in NUMBER.finditer(code):
        new = str(int(m[0], 0) + 1)
        yield found(m.start(), m.end(), new, f'{m[0]} -> {new}')
    for m in re.finditer(r'\b(true|false)\b', code):
        new = 'false' if m[0] == 'true' else 'true'
        yield found(m.start(), m.end(), new, f'{m[0]} -> {new}')
    for m in re.finditer(r'(\+\+|--)(?=\w)|(?<=\w)(\+\+|--)', code):
        new = '--' if m[0] == '++' else '++'
        yield found(m.start(), m.end(), new, f'{m[0]} -> {new}')
    for m in CONDITION.finditer(code):
        start, end = m.span(2)
        if ';' not in m[2] and ' = ' not in m[2]:
            yield found(start, end, f'!( {source[start:end]} )', f'{m[1]} negated')
    for pattern in (STATEMENT, LEAVE):
        for m in pattern.finditer(code):
            start = m.start() + len(m[0]) - len(m[0].lstrip())
            yield found(start, m.end(), ';', 'deleted: ' + ' '.join(source[start:m.end()].split())[:70])


def line_of(mutant):
    return mutant[0].read_text()[:mutant[1]].count('\n') + 1


def describe(mutant):
    path, start, _, _, what = mutant
    line = line_of(mutant)
    text = path.read_text().split('\n')[line - 1].strip()
    return f'{path.relative_to(ROOT)}:{line}: {what}' + ('' if what.startswith('deleted') else f'   in   {text[:80]}')


class Build:
    def __init__(self, directory):
        self.directory = directory
        self.commands = {c['file']: shlex.split(c['command'])
                         for c in json.loads((directory / 'compile_commands.json').read_text())}
        ninja = subprocess.run(['ninja', '-t', 'commands', SHARED_OBJECT], cwd=directory, check=True,
                               capture_output=True, text=True).stdout
        self.link = next(line for line in ninja.split('\n') if f'-soname,lib{LIBRARY}.so' in line)

    def compile(self, path, source, place):
        """The library of the changed source in `place`; false when it does not build."""
        changed = place / path.relative_to(ROOT)
        changed.parent.mkdir(parents=True, exist_ok=True)
        changed.write_text(source)
        command = self.commands[str(path)]
        built = command[command.index('-o') + 1]
        made = str(place / 'changed.o')
        swapped = {built: made, str(path): str(changed), '-Werror': '-w'}
        command = [swapped.get(word, word) for word in command if word != '-g']
        command.append(f'-fmacro-prefix-map={place}/=')
        for option in ('-MF', '-MT'):
            if option in command:
                command[command.index(option) + 1] = made + '.d'
        if subprocess.run(command, cwd=self.directory, capture_output=True).returncode:
            return False
        name = re.search(r'-o (lib/\S+)', self.link)[1]
        soname = re.search(r'-Wl,-soname,(\S+)', self.link)[1]
        link = self.link.replace(f'-o {name}', f'-o {place / soname}').replace(built, made)
        link = link.split(' && ')[1] if link.startswith(': && ') else link
        return subprocess.run(link, shell=True, cwd=self.directory, capture_output=True).returncode == 0

    def notices(self, place):
        """The first group of tests that fails with the library in `place`, or None."""
        environment = dict(os.environ, LD_LIBRARY_PATH=str(place), GTEST_FAIL_FAST='1', GTEST_BRIEF='1',
                           ASAN_OPTIONS=f'hard_rss_limit_mb={MEGABYTES}')
        limit = None if 'sanit' in self.directory.name else lambda: resource.setrlimit(
            resource.RLIMIT_AS, (MEGABYTES << 20, MEGABYTES << 20))
        for tests in TESTS:
            # A session of its own, so that the tests' own child processes go with them.
            run = subprocess.Popen([self.directory / 'bin/tests', f'--gtest_filter={tests}'], cwd=ROOT,
                                   env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                   preexec_fn=limit, start_new_session=True)
            try:
                if run.wait(SECONDS):
                    return tests
            except subprocess.TimeoutExpired:
                os.killpg(run.pid, signal.SIGKILL)
                run.wait()
                return 'timeout'
        return None


def judge(build, number, mutant):
    path, start, end, new, _ = mutant
    place = ROOT / 'build/mutants' / str(number)
    place.mkdir(parents=True, exist_ok=True)
    source = path.read_text()
    try:
        if not build.compile(path, source[:start] + new + source[end:], place):
            return 'not built'
        return 'killed' if build.notices(place) else 'survived'
    finally:
        shutil.rmtree(place)


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('count', nargs='?', default='60')
    parser.add_argument('seed', nargs='?', type=int, default=1)
    parser.add_argument('--build', default='build/debug')
    parser.add_argument('--jobs', type=int, default=os.cpu_count())
    parser.add_argument('--list', action='store_true', help='only list the changes')
    options = parser.parse_args()

    everything = [m for path in sorted((ROOT / LIBRARY).rglob('*.cpp')) for m in mutants_of(path)]
    count = len(everything) if options.count == 'all' else min(int(options.count), len(everything))
    chosen = random.Random(options.seed).sample(everything, count)
    print(f'{count} of {len(everything)} mutants, seed {options.seed}', flush=True)
    if options.list:
        print(*map(describe, chosen), sep='\n')
        return

    build = Build(ROOT / options.build)
    (ROOT / 'build/mutants').mkdir(parents=True, exist_ok=True)
    if build.notices(ROOT / 'build/mutants/none'):
        raise SystemExit('the tests fail without a mutant')
    verdicts = {}
    log = open(ROOT / 'build/mutants/verdicts.txt', 'w')
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        jobs = {pool.submit(judge, build, number, mutant): mutant for number, mutant in enumerate(chosen)}
        for job in concurrent.futures.as_completed(jobs):
            verdicts.setdefault(job.result(), []).append(jobs[job])
            print(job.result().ljust(10) + describe(jobs[job]), file=log, flush=True)
            if job.result() == 'survived':
                print('survived  ' + describe(jobs[job]), flush=True)
    killed, survived = (len(verdicts.get(verdict, [])) for verdict in ('killed', 'survived'))
    print(f'killed {killed}, survived {survived}, not built {len(verdicts.get("not built", []))}: '
          f'{100 * killed / max(1, killed + survived):.1f} % killed')


if __name__ == '__main__':
    main()
