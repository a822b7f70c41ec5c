#!/usr/bin/env python3
"""schemas.py COMMAND: every document that quarra-tcam prints, and every line that batch takes or answers, is of the shape
that docs/schema/ promises. The shapes name all fields, so a new or renamed one fails here until its schema says so."""
import json
import os
import subprocess
import sys
import tempfile
import warnings

import jsonschema

warnings.simplefilter("ignore", DeprecationWarning)  # newer releases have another resolver; Debian's has this one
FOLDER = os.path.abspath("docs/schema")
tool = sys.argv[1]
seen = {}  # documents by schema


def load(name):
    with open(f"{FOLDER}/{name}.schema.json") as file:
        return json.load(file)


def validator(name):
    schema = load(name)
    jsonschema.Draft202012Validator.check_schema(schema)
    others = {other["$id"]: other for other in map(load, ("common", "chip-file", "plan", "apply"))}
    return jsonschema.Draft202012Validator(
        schema, resolver=jsonschema.RefResolver(schema["$id"], schema, store=others))


names = [file[: -len(".schema.json")] for file in sorted(os.listdir(FOLDER))]
validators = {name: validator(name) for name in names}


def check(name, document, where):
    problem = jsonschema.exceptions.best_match(validators[name].iter_errors(document))
    if problem:
        sys.exit(f"{where}: not of {name}: {problem.json_path}: {problem.message[:300]}")
    seen[name] = seen.get(name, 0) + 1


def run(arguments, codes=(0,), **how):
    done = subprocess.run([tool, *arguments], stdout=subprocess.PIPE, text=True, timeout=300, **how)
    if done.returncode not in codes:
        sys.exit(f"{arguments}: exit {done.returncode}")
    return done.stdout


def batch(lines, arguments, where):
    answers = run([*arguments, "batch", "-"], input="".join(line + "\n" for line in lines)).splitlines()
    if len(answers) != len(lines):
        sys.exit(f"{where}: {len(answers)} answers to {len(lines)} lines")
    for line, answer in zip(lines, answers):
        answer = json.loads(answer)
        check("batch-answer", answer, f"{where}: the answer to {line}")
        if answer["ok"]:
            check("batch-request", json.loads(line), where)


chips = json.loads(run(["chips", "-p"]))
check("chips", chips, "chips")
variants = sorted({variant for chip in chips["chips"] for variant in chip["variants"]})
configurations = [f"scenarios/{file}" for file in sorted(os.listdir("scenarios"))]
damaged = json.dumps({"PORT": {"A": {}, "B": {}}, "ACL_TABLE": {"T": {"type": "L3", "ports": ["A"]}, "U": {"type": "L3", "stage": "egress"}},
                      "ACL_RULE": {"T|R": {"IN_PORTS": "B"}, "T|S": {}, "T|X": {"PRIORITY": "x"}}})
for variant in variants:
    here = ["--variant", variant]
    check("groups", json.loads(run([*here, "groups", "-j"])), f"groups of {variant}")
    for file in configurations:
        for more in ([], ["-s", "--map", "L3=16"]):
            check("apply", json.loads(run([*here, "apply", "-j", *more, file], (0, 1))), f"apply {file} on {variant}")
    check("apply", json.loads(run([*here, "apply", "-j", "--keep-going", "-"], (1,), input=damaged)), f"apply on {variant}")
    left = json.loads(run([*here, "plan", "-j", "--map", "PFCWD=16", "-"], input=json.dumps({"PORT": {"A": {}}, "ACL_TABLE": {"U": {"type": "L3", "stage": "egress"}}})))
    check("plan", left, f"plan of what is left out on {variant}")
    if not left["leftOut"] or not left["warnings"]:
        sys.exit(f"plan on {variant}: nothing is left out, or nothing warned about")
    check("plan", json.loads(run([*here, "plan", "-j", "--keep-going", "-"], (1,), input=damaged)), f"plan of what is wrong on {variant}")
    check("soak", json.loads(run([*here, "soak", "-j", "--ops", "100", "--seed", "1", "--jobs", "1"])), "soak")
    check("soak", json.loads(run([*here, "soak", "-j", "--crash", "--ops", "5", "--seed", "1", "--jobs", "1"])), "soak --crash")
    check("soak-exhaustive", json.loads(run([*here, "soak", "-j", "--exhaustive", "1", "--jobs", "1"])), "soak --exhaustive")
    for seed in "123":
        history = run([*here, "soak", "--print", "--seed", seed]).splitlines()
        lines = [line for number, line in enumerate(history) for line in
                 ([line, '{"op":"dump"}', '{"id":"x","op":"check"}'] if number % 20 == 19 else [line])]
        batch(lines + ['{"op":"dump"}', "nonsense", '{"op":"fly","id":7}'], [], f"the history of seed {seed} on {variant}")
    modules = '{"op":"chip","variant":"%s","ports":[1,{"module":3,"port":2}],"cpuPorts":[]}' % variant
    batch([modules, '{"op":"install","group":13,"entry":1,"ports":["Port1",{"module":3,"port":2}]}', '{"op":"dump"}'], [], "modules")
    for file in configurations:
        ask = lambda name, *words: check(name, json.loads(run([*here, name, "-j", *words], (0, 1), stderr=subprocess.DEVNULL)), f"{name} {words} on {variant}")
        ask("why", "1", "-c", file)
        ask("who", "flexible", "3", "-c", file)
        ask("who", "2", "-c", file)
        ask("who", next(iter(json.loads(run([*here, "apply", "-j", file], (0, 1)))["tables"]))["name"], "-c", file)
        ask("usage", "-c", file)
        ask("diff", configurations[0], file)
        check("plan", json.loads(run([*here, "plan", "-j", "--from", configurations[0], file], (0, 1, 3))), f"plan {file} on {variant}")
    questions = ['{"op":"why","port":"Port1"}', '{"op":"why","port":2,"entry":1,"id":1}', '{"op":"who","space":"flexible","bit":2}',
                 '{"op":"who","port":{"port":1}}', '{"op":"usage"}']
    batch(['{"op":"chip","variant":"%s","ports":4}' % variant, '{"op":"createGroup","group":16}', '{"op":"install","group":16,"entry":1,"ports":[1,2],"rule":{"name":"T|R"}}',
           '{"op":"install","group":16,"entry":2,"ports":[2,3]}', *questions, '{"op":"who","table":"T"}',
           '{"op":"diff","before":{"groups":[]}}', '{"op":"expect","entry":1,"offset":0,"width":1,"classId":1}',
           '{"op":"plan","config":{"PORT":{"Port1":{},"Port2":{}},"ACL_TABLE":{"T":{"type":"L3","ports":["Port1"]}},"ACL_RULE":{"T|R":{}}},"map":{"L3":16}}'], [], "questions")
# Switches that last: each document before, after and over an apply, a damage and a cold start.
with tempfile.TemporaryDirectory() as folder:
    for variant in variants:
        switch = ["--switch", f"{folder}/{variant}"]
        new = lambda name, *words, codes=(0, 1): check(name if name != "repair" else "audit", json.loads(
            run([name, "-j", *switch, *words], codes, stderr=subprocess.DEVNULL)), f"{name} {words} of a switch of {variant}")
        new("apply", "--variant", variant, configurations[0])
        batch(['{"op":"install","group":13,"entry":900,"ports":[1],"label":"T|R"}'], switch, "a label")
        new("apply", configurations[0])
        for name in ("check", "audit", "repair", "restart", "switch", "usage"):
            new(name)
        new("why", "1", "-c", configurations[0])
        check("batch-answer", json.loads(run(["dump", *switch])), "dump")
        for damage in (["entry", "1"], ["bit", "1", "3"], ["word", "2", "9", "7"]):
            run(["damage", *switch, *damage], (0, 2), stderr=subprocess.DEVNULL)  # not every chip has all of it
        for name in ("check", "audit", "repair"):
            new(name)
        new("restart", "--cold", "--variant", variant, codes=(0, 1))
for file in sorted(os.listdir("fuzz/corpus/ChipFile")):
    if file != "refused":
        with open(f"fuzz/corpus/ChipFile/{file}") as chip:
            check("chip-file", json.load(chip), f"fuzz/corpus/ChipFile/{file}")

with tempfile.TemporaryDirectory() as folder:
    kept = ["--switch", f"{folder}/switch"]
    run([*kept, "batch", "-"], input='{"op":"chip","ports":3}\n{"op":"install","group":13,"entry":1,"ports":[1]}\n')
    with open(f"{folder}/new.json", "w") as new:
        json.dump({"PORT": {"Port1": {}, "Port2": {}}, "ACL_TABLE": {"T": {"type": "L3", "ports": ["Port2"]}}, "ACL_RULE": {"T|R": {}}}, new)
    check("plan", json.loads(run([*kept, "plan", "-j", "-o", f"{folder}/steps", f"{folder}/new.json"])), "plan on a switch that lasts")
    for line in open(f"{folder}/steps"):
        check("batch-request", json.loads(line), "a step of a plan")
    check("apply-plan", json.loads(run([*kept, "apply", "-j", "-s", "--plan", f"{folder}/steps"])), "apply --plan")
    run([*kept, "apply", "--plan", f"{folder}/steps"], (2,), stderr=subprocess.DEVNULL)  # the switch is another one now

# What no command of ours may print.
for name in names:
    wrong = [[], {"ok": True}, {"version": 1, "ok": True, "new": 1}] if name != "chip-file" else [[], {"colour": 1}]
    for document in wrong if name != "common" else []:
        if validators[name].is_valid(document):
            sys.exit(f"{name} takes {document}")
missing = [name for name in names if name not in seen and name != "common"]
if missing:
    sys.exit(f"nothing was held against {missing}")
print(", ".join(f"{number} of {name}" for name, number in sorted(seen.items())))
