#!/usr/bin/env python3
"""A fleet of switches with a change each, the same at each run: something to plan for in bulk.

fleet.py SWITCHES FOLDER    writes FOLDER/0001/old.json and new.json, ...: config_db.json of 16 to 64 ports, 4 to 50 tables of 1 to
                            40 rules; in the new one a tenth of the tables is gone, has other ports, or has just come
"""
import json
import os
import random
import sys

TYPES = ["L3", "L3V6", "L3V4V6", "MIRROR", "MIRRORV6", "PFCWD", "MCLAG", "CTRLPLANE"]


def table(choice, ports):
    first = choice.randrange(len(ports))
    return {"type": choice.choice(TYPES), "stage": "ingress", "ports": ports[first:first + choice.randint(1, 16)]}


def rules(choice, name):
    return {f"{name}|RULE_{n}": {"PRIORITY": str(10000 - n), "DST_IP": f"10.{n}.{choice.randrange(256)}.0/24", "PACKET_ACTION": "DROP"}
            for n in range(1, choice.randint(2, 41))}


def switch(seed):
    choice = random.Random(seed)
    ports = [f"Ethernet{4 * n}" for n in range(choice.choice([16, 32, 48, 64]))]
    old = {"PORT": {port: {"lanes": str(n)} for n, port in enumerate(ports)}, "ACL_TABLE": {}, "ACL_RULE": {}}
    for n in range(choice.randint(4, 50)):
        old["ACL_TABLE"][f"T{n:02}"] = table(choice, ports)
        old["ACL_RULE"].update(rules(choice, f"T{n:02}"))
    new = json.loads(json.dumps(old))
    for name in list(old["ACL_TABLE"]):
        what = choice.randrange(30)
        if what == 0:
            del new["ACL_TABLE"][name]
            new["ACL_RULE"] = {key: rule for key, rule in new["ACL_RULE"].items() if not key.startswith(name + "|")}
        elif what == 1:
            new["ACL_TABLE"][name]["ports"] = table(choice, ports)["ports"]
        elif what == 2:
            new["ACL_TABLE"][f"NEW_{name}"] = table(choice, ports)
            new["ACL_RULE"].update(rules(choice, f"NEW_{name}"))
    return old, new


def main():
    if len(sys.argv) != 3:
        sys.exit(__doc__)
    for number in range(1, int(sys.argv[1]) + 1):
        folder = f"{sys.argv[2]}/{number:04}"
        os.makedirs(folder, exist_ok=True)
        for name, configuration in zip(("old", "new"), switch(number)):
            with open(f"{folder}/{name}.json", "w") as out:
                json.dump(configuration, out)


main()
