#!/usr/bin/env python3
"""Configurations of a site with many switches, the same at each run: something to run a whole fleet's questions on.

manySwitches.py COUNT FOLDER    writes FOLDER/sw0001.json and on, config_db.json files, and what is planned for each, sw0001.new.json

Switches of 24 to 64 ports have 2 to 56 tables. The plan narrows, widens, adds or drops some of them. Most have room for
it, some have not.
"""
import argparse
import copy
import json
import pathlib
import random


def table(chosen, ports):
    first = chosen.randrange(len(ports))
    return {'type': chosen.choice(['L3', 'L3', 'L3V6', 'MIRROR']), 'stage': 'ingress',
            'ports': ports[first:first + chosen.randint(1, len(ports) // 2)]}


def switch(chosen):
    ports = [f'Ethernet{number}' for number in range(chosen.choice([24, 32, 48, 64]))]
    config = {'PORT': {port: {} for port in ports}, 'ACL_TABLE': {}, 'ACL_RULE': {}}
    for number in range(chosen.randint(2, 56)):
        add(chosen, config, f'TABLE{number}')
    return config


def add(chosen, config, name):
    config['ACL_TABLE'][name] = table(chosen, list(config['PORT']))
    for rule in range(chosen.randint(1, 8)):
        config['ACL_RULE'][f'{name}|RULE{rule}'] = {'PRIORITY': str(100 - rule), 'PACKET_ACTION': 'DROP'}


def drop(config, name):
    del config['ACL_TABLE'][name]
    config['ACL_RULE'] = {rule: row for rule, row in config['ACL_RULE'].items() if not rule.startswith(name + '|')}


def changed(chosen, config):
    new = copy.deepcopy(config)
    for number in range(chosen.randint(1, 4)):
        name = chosen.choice(list(new['ACL_TABLE']))
        what = chosen.randrange(3)
        if what == 0 and len(new['ACL_TABLE']) > 1:
            drop(new, name)
        elif what == 1:
            new['ACL_TABLE'][name]['ports'] = table(chosen, list(new['PORT']))['ports']
        else:
            add(chosen, new, f'NEW{number}')
    return new


def main():
    parser = argparse.ArgumentParser(description=__doc__.split('\n')[0])
    parser.add_argument('count', type=int)
    parser.add_argument('folder', type=pathlib.Path)
    options = parser.parse_args()
    options.folder.mkdir(parents=True, exist_ok=True)
    for number in range(1, options.count + 1):
        chosen = random.Random(number)
        config = switch(chosen)
        for suffix, content in ('json', config), ('new.json', changed(chosen, config)):
            (options.folder / f'sw{number:04}.{suffix}').write_text(json.dumps(content))


if __name__ == '__main__':
    main()
