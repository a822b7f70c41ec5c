#!/usr/bin/env python3
"""A large access list, the same at each run: something to measure with.

bigAcl.py RULES PORTS                      a config_db.json of so many rules over so many ports, on standard output
bigAcl.py RULES PORTS --batch sdk6|hsdk    the same entries as lines of `quarra-tcam batch`, installed and removed
bigAcl.py ... --own                        each rule narrowed to ports of its own: more port sets than a chip has class IDs

Ten types of tables, two tables each, of disjoint port sets: 20 class IDs, which fit on SDK6 chips and match
exactly on HSDK chips, where a port carries one class ID of a TCAM group.
"""
import argparse
import json

TYPES = ["L3", "L3V6", "L3V4V6", "MIRROR", "MIRRORV6", "MIRROR_DSCP", "PFCWD", "MCLAG", "CTRLPLANE", "CUSTOM"]
GROUPS = {"sdk6": [13, 14, 59, 42, 43, 52, 55, 56, 108, 132], "hsdk": list(range(16, 26))}  # as `apply` maps the types


def port_sets(ports):
    """Of the type's two tables: every port but a few, split at another place for each type."""
    for place in range(len(TYPES)):
        split = ports * (place + 4) // 20
        yield range(1, split + 1), range(split + 1, ports + 1 - place)


def rule_ports(ports, n, own):
    """A run of the table's ports for the n-th rule, or all of them."""
    if not own:
        return ports
    first = n % len(ports)
    return ports[first:first + 1 + n // len(ports) % 8]


def rules(count, ports, own):
    """(type, table of the type, rule, ports), the rules dealt out to the tables in turn"""
    tables = [(number, table, ports_of) for number, pair in enumerate(port_sets(ports))
              for table, ports_of in enumerate(pair)]
    for n in range(count):
        number, table, ports_of = tables[n % len(tables)]
        yield number, table, n // len(tables), rule_ports(ports_of, n // len(tables), own)


def config(count, ports, own):
    name = [f"Ethernet{n * 4}" for n in range(ports)]
    tables = {f"{TYPES[number]}_{table}": {"type": TYPES[number], "ports": [name[port - 1] for port in ports_of]}
              for number, pair in enumerate(port_sets(ports)) for table, ports_of in enumerate(pair)}
    acl_rules = {}
    for number, table, rule, ports_of in rules(count, ports, own):
        fields = {"PRIORITY": str(100000 - rule), "PACKET_ACTION": "DROP", "DST_IP": f"10.{rule >> 8}.{rule & 255}.0/24"}
        if own:
            fields["IN_PORTS"] = ",".join(name[port - 1] for port in ports_of)
        acl_rules[f"{TYPES[number]}_{table}|RULE_{rule + 1}"] = fields
    return {"PORT": {one: {"lanes": str(n)} for n, one in enumerate(name)}, "ACL_TABLE": tables, "ACL_RULE": acl_rules}


def batch(count, ports, own, generation):
    profile = {"sdk6": "sdk6-64", "hsdk": "hsdk-1024"}[generation]
    yield {"op": "chip", "variant": generation, "profile": profile, "ports": ports}
    groups = GROUPS[generation]
    for group in groups:
        yield {"op": "createGroup", "group": group}
    entries = [(groups[number], n + 1, list(ports_of)) for n, (number, _, _, ports_of) in enumerate(rules(count, ports, own))]
    for group, entry, ports_of in entries:
        yield {"op": "install", "group": group, "entry": entry, "ports": ports_of}
    for group, entry, _ in entries:
        yield {"op": "remove", "group": group, "entry": entry}


def main():
    arguments = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    arguments.add_argument("rules", type=int)
    arguments.add_argument("ports", type=int)
    arguments.add_argument("--own", action="store_true")
    arguments.add_argument("--batch", choices=sorted(GROUPS), metavar="sdk6|hsdk")
    options = arguments.parse_args()
    if options.batch:
        for line in batch(options.rules, options.ports, options.own, options.batch):
            print(json.dumps(line))
    else:
        print(json.dumps(config(options.rules, options.ports, options.own), indent=1))


if __name__ == "__main__":
    main()
