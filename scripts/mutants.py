#!/usr/bin/env python3
"""Changes one place of the sources at a time and sees whether the tests notice.

mutants.py [COUNT|all] [SEED] [--of library|product] [--build DIR] [--jobs N]

Needs a finished build, build/quick unless named. `library` is QuarraTcamSdkBaseTypes, `product` all that stands around it:
agent, lab, simulator, acl and tools.

A mutant is one source file compiled anew, and what it belongs to linked from it in build/mutants: a shared library that the
test programme, as it stands, loads; for a static library the test programme itself and the command. A test that fails, a
crash and a timeout kill it. Prints the survivors. build/mutants/SET-SEED.txt has every verdict below the revision and the
digest of the list that the sample was drawn from; the list itself is build/mutants/SET.list.
"""
import argparse
import concurrent.futures
import hashlib
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
PLACE = ROOT / 'build/mutants'
SETS = {'library': ['QuarraTcamSdkBaseTypes'], 'product': ['agent', 'lab', 'simulator', 'acl', 'tools']}
PROGRAMMES = ['tests', 'quarra-tcam']
MEGABYTES = 4096
CASES_PERCENT = '5'  # of the generated inputs
SKIPPED = 77  # what a test exits with that cannot run here

# Groups of tests in the order in which they run, those that notice most for their time first. "Tool.*" are the tests that
# run the command. What is in no group runs at the end.
ALONE = ('Misuse*:HelperMisuse*:Pools*:Reservation*:RequestKeys*:Release*:Programming*:SourceTrunkMap*:Helpers*:'
         'LowestFreeRun*:TcamGroups*:Registry*:Translation*:Records*')  # the library without agent, lab and tools
FULL = '*FullTables*:*FullFixedTables*'
ANSWERS = 'BatchOn*:BatchLines*:*BatchOn*:*Apply*:*BadInput*'
LAST = ['*SoakOnEveryVariant*', '*Scenarios*']
FIRST = {
    'QuarraTcamSdkBaseTypes': [ALONE + ':*Chip*', ANSWERS, 'Tool.*', LAST[0], FULL + '-*255*:*64InPoolsOf8', LAST[1]],
    'simulator': ['*Chip*:' + ALONE, ANSWERS, 'Tool.*', *LAST, FULL],
    'agent': [ANSWERS, '*Restart*:*Store*:*ColdStart*:*Audit*:*SwitchDir*', 'Tool.*', *LAST, ALONE],
    'lab': ['*Plan*:*Why*:*Usage*:*Diff*:*MatchCheck*:*SwitchDir*:*Chip*:*PortNames*', ANSWERS, 'Tool.*', *LAST],
    'acl': ['Acl*:ConfigDb*:*BadInput*', 'Tool.*'],
    'tools': ['*Text*:*Command*:*Plan*:' + ANSWERS, 'Tool.*'],
}
# A change that only these would notice counts as survived: they call nothing of the room, or next to nothing.
LEFT_OUT = {'lab': ALONE + ':' + FULL, 'acl': ALONE + ':' + FULL, 'tools': ALONE + ':' + FULL}


def groups_of(room):
    groups = FIRST[room]
    done = ':'.join([group.split('-')[0] for group in groups if group != 'Tool.*' and '-' not in group] +
                    ([LEFT_OUT[room]] if room in LEFT_OUT else []))
    return groups + ['*-' + done]


SWAPS = {'==': '!=', '!=': '==', '<': '<=', '<=': '<', '>': '>=', '>=': '>', '&&': '||', '||': '&&', '+': '-',
         '-': '+', '*': '+', '%': '/', '&': '|', '|': '&', '+=': '-=', '|=': '&=', '&=': '|=', '<<': '>>', '>>': '<<'}
OPERATOR = re.compile(r'(?<= )(' + '|'.join(re.escape(o) for o in sorted(SWAPS, key=len, reverse=True)) + r')(?= )')
NUMBER = re.compile(r'(?<![\w.\"])(0x[0-9a-fA-F]+|0|[1-9]\d*)(?![\w.\"])')
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
        before = code[code.rfind('\n', 0, m.start()) + 1:m.start()]
        streams = m[0] == '<<' and (re.match(r'\s*([\w:.]+ )?<< ', before + '<< ') or
                                    not re.search(r'\b(U32|U64|\w*[cC]lassId\(\)|mask|chipId)\b', before))
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


def describe(mutant):
    path, start, _, _, what = mutant
    line = path.read_text()[:start].count('\n')
    text = path.read_text().split('\n')[line].strip()
    return f'{path.relative_to(ROOT)}:{line + 1}: {what}' + ('' if what.startswith('deleted') else f'   in   {text[:80]}')


def words(command):
    return shlex.split(command.split(' && ')[1] if command.startswith(': && ') else command)


def environment_of(test):
    """The start of a command that sets what the test wants in its environment."""
    return ['env'] + [setting for wanted in test['properties'] if wanted['name'] == 'ENVIRONMENT'
                      for setting in wanted['value']]


class Build:
    def __init__(self, directory):
        self.directory = directory
        self.compiles = {c['file']: shlex.split(c['command'])
                         for c in json.loads((directory / 'compile_commands.json').read_text())}
        commands = subprocess.run(['ninja', '-t', 'commands'] + PROGRAMMES, cwd=directory, check=True,
                                  capture_output=True, text=True).stdout.split('\n')
        self.links = [words(command) for command in commands
                      if re.search(r' -o (lib/\S+\.so\S*|bin/\S+) ', command)]
        listed = json.loads(subprocess.run(['ctest', '--show-only=json-v1'], cwd=directory, check=True,
                                           capture_output=True, text=True).stdout)['tests']
        command = str(directory / 'bin/quarra-tcam')
        self.tool_tests = [environment_of(test) + test['command'] for test in listed
                           if command in test.get('command', [])]
        self.limits = {}
        cache = (directory / 'CMakeCache.txt').read_text()
        self.sanitized = 'QUARRA_SANITIZE:BOOL=ON' in cache  # they reserve terabytes of addresses

    def compile(self, path, source, place):
        """What the changed source belongs to, linked from it in `place`; false when it does not build."""
        changed = place / path.relative_to(ROOT)
        changed.parent.mkdir(parents=True, exist_ok=True)
        changed.write_text(source)
        command = self.compiles[str(path)]
        built = command[command.index('-o') + 1]
        made = str(place / 'changed.o')
        swapped = {built: made, str(path): str(changed), '-Werror': '-w'}
        # A precompiled header goes with its options only.
        dropped = [] if any('cmake_pch' in word for word in command) else ['-g']
        command = [swapped.get(word, word) for word in command if word not in dropped]
        command.append(f'-fmacro-prefix-map={place}/=')
        for option in ('-MF', '-MT'):
            if option in command:
                command[command.index(option) + 1] = made + '.d'
        if subprocess.run(command, cwd=self.directory, capture_output=True).returncode:
            return False
        return all(subprocess.run(link, cwd=self.directory, capture_output=True).returncode == 0
                   for link in self.links_with(built, made, place))

    def links_with(self, built, made, place):
        """The links that the object goes into, its shared library alone or each programme, made in `place`."""
        target = re.search(r'CMakeFiles/([^/]+)\.dir/', built)[1]
        for link in self.links:
            link = list(link)
            output = link.index('-o') + 1
            if built in link:
                link[link.index(built)] = made
            elif any(word.endswith(f'/lib{target}.a') for word in link):
                link.insert(output - 1, made)  # goes before the archive, whose own member is then not taken
                output += 1
            else:
                continue
            soname = next((word.rsplit(',', 1)[1] for word in link if word.startswith('-Wl,-soname,')), None)
            link[output] = str(place / (soname or pathlib.Path(link[output]).name))
            yield link + ['-Wl,--strip-debug']

    def programme(self, name, place):
        made = place / name
        return str(made if made.exists() else self.directory / 'bin' / name)

    def run(self, command, place, seconds, output=subprocess.DEVNULL):
        """None when the command passes, else how it ended. A process may use so many seconds of a processor, and the command
        takes three times as long: what runs beside it must not kill a mutant."""
        environment = dict(os.environ, LD_LIBRARY_PATH=str(place), GTEST_FAIL_FAST='1', GTEST_BRIEF='1',
                           QUARRA_TCAM=self.programme('quarra-tcam', place), QUARRA_CASES_PERCENT=CASES_PERCENT,
                           ASAN_OPTIONS=f'hard_rss_limit_mb={MEGABYTES}')
        unlimited = self.sanitized or any(word.endswith('page.py') for word in command)  # a browser

        def limit():
            resource.setrlimit(resource.RLIMIT_CPU, (seconds, seconds + 5))
            if not unlimited:
                resource.setrlimit(resource.RLIMIT_AS, (MEGABYTES << 20, MEGABYTES << 20))
        # A session of its own, so that the tests' own child processes go with them.
        run = subprocess.Popen(command, cwd=ROOT, env=environment, stdin=subprocess.DEVNULL, stdout=output, stderr=output,
                               preexec_fn=limit, start_new_session=True)
        try:
            end = run.wait(3 * seconds)
            return None if end in (0, SKIPPED) else 'timed out' if end == -signal.SIGXCPU else 'killed'
        except subprocess.TimeoutExpired:
            os.killpg(run.pid, signal.SIGKILL)
            run.wait()
            return 'timed out'

    def commands(self, group, place):
        if group != 'Tool.*':
            return [[self.programme('tests', place), f'--gtest_filter={group}']]
        tool = str(self.directory / 'bin/quarra-tcam')
        return [[self.programme('quarra-tcam', place) if word == tool else word for word in test]
                for test in self.tool_tests]

    def rehearse(self, rooms):
        """Runs the tests without a mutant; each group then has five times what it used, and half a minute."""
        def used():
            usage = resource.getrusage(resource.RUSAGE_CHILDREN)
            return usage.ru_utime + usage.ru_stime
        for group in dict.fromkeys(group for room in rooms for group in groups_of(room)):
            start = used()
            for command in self.commands(group, PLACE / 'none'):
                with open(PLACE / 'rehearsal.txt', 'w') as output:
                    failed = self.run(command, PLACE / 'none', 600, output)
                if failed:
                    raise SystemExit(f'the tests fail without a mutant, see {output.name}: {shlex.join(command)}')
            self.limits[group] = 30 + int(5 * (used() - start))

    def verdict(self, room, place):
        ends = (self.run(command, place, self.limits[group])
                for group in groups_of(room) for command in self.commands(group, place))
        return next(filter(None, ends), 'survived')


def judge(build, number, mutant):
    path, start, end, new, _ = mutant
    place = PLACE / str(number)
    place.mkdir(parents=True, exist_ok=True)
    source = path.read_text()
    try:
        if not build.compile(path, source[:start] + new + source[end:], place):
            return 'not built'
        return build.verdict(path.relative_to(ROOT).parts[0], place)
    finally:
        shutil.rmtree(place)


def revision():
    def git(*arguments):
        return subprocess.run(['git', *arguments], cwd=ROOT, capture_output=True, text=True).stdout.strip()
    return (git('rev-parse', '--short=12', 'HEAD') or 'none') + (' and changes' if git('status', '--porcelain') else '')


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('count', nargs='?', default='60')
    parser.add_argument('seed', nargs='?', type=int, default=1)
    parser.add_argument('--of', choices=SETS, default='library', help='what is changed')
    parser.add_argument('--build', default='build/quick')
    parser.add_argument('--jobs', type=int, default=os.cpu_count())
    parser.add_argument('--list', action='store_true', help='only list the changes')
    options = parser.parse_args()

    everything = [m for room in SETS[options.of] for path in sorted((ROOT / room).rglob('*.cpp'))
                  for m in mutants_of(path)]
    count = len(everything) if options.count == 'all' else min(int(options.count), len(everything))
    chosen = random.Random(options.seed).sample(everything, count)
    listed = ''.join(describe(mutant) + '\n' for mutant in everything)
    digest = hashlib.sha256(listed.encode()).hexdigest()[:12]
    head = (f'{count} of {len(everything)} mutants of the {options.of}, seed {options.seed}, '
            f'revision {revision()}, list {digest}')
    print(head, flush=True)
    if options.list:
        print(*map(describe, chosen), sep='\n')
        return

    PLACE.mkdir(parents=True, exist_ok=True)
    (PLACE / f'{options.of}.list').write_text(listed)
    build = Build(ROOT / options.build)
    build.rehearse(SETS[options.of])
    verdicts = {'killed': 0, 'timed out': 0, 'survived': 0, 'not built': 0}
    log = open(PLACE / f'{options.of}-{options.seed}.txt', 'w')

    def say(line, shown=True):
        print(line, file=log, flush=True)
        if shown:
            print(line, flush=True)
    say(head, shown=False)
    with concurrent.futures.ThreadPoolExecutor(options.jobs) as pool:
        jobs = {pool.submit(judge, build, f'{options.of}-{options.seed}-{number}', mutant): mutant
                for number, mutant in enumerate(chosen)}
        for job in concurrent.futures.as_completed(jobs):
            verdicts[job.result()] += 1
            say(job.result().ljust(10) + describe(jobs[job]), shown=job.result() == 'survived')
    noticed = verdicts['killed'] + verdicts['timed out']
    say(', '.join(f'{verdict} {number}' for verdict, number in verdicts.items()) +
        f': {100 * noticed / max(1, noticed + verdicts["survived"]):.1f} % noticed')


if __name__ == '__main__':
    main()
