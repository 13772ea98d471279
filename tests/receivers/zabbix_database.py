#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The database of a Zabbix proxy, as a server would have filled it: one host with
an SNMP interface and one item for its traps.

usage: zabbix_database.py make ADDRESS
       zabbix_database.py wait       (for a value of the item, and prints it)
"""
import gzip
import sqlite3
import sys
import time

DATABASE = "/var/lib/zabbix/proxy.db"
SCHEMA = "/usr/share/zabbix-proxy-sqlite3/schema.sql.gz"

# Zabbix's own numbers.
SNMP_INTERFACE = 2
VERSION_1 = 1
SNMP_TRAP_ITEM = 17
LOG_VALUE = 2


def insert(database, table, **row):
    names, marks = ", ".join(row), ", ".join("?" * len(row))
    database.execute(f"insert into {table} ({names}) values ({marks})", tuple(row.values()))


def make(address):
    database = sqlite3.connect(DATABASE)
    with gzip.open(SCHEMA, "rt") as schema:
        database.executescript(schema.read())
    # Rows that the proxy never asks for are missing.
    database.execute("pragma foreign_keys = off")
    insert(database, "config", configid=1, discovery_groupid=1)
    insert(database, "hosts", hostid=1, host="esx1", name="esx1")
    insert(database, "interface", interfaceid=1, hostid=1, main=1, type=SNMP_INTERFACE,
           ip=address, port="161")
    insert(database, "interface_snmp", interfaceid=1, version=VERSION_1, community="public")
    insert(database, "items", itemid=1, hostid=1, interfaceid=1, type=SNMP_TRAP_ITEM,
           name="traps", key_="snmptrap.fallback", value_type=LOG_VALUE)
    insert(database, "item_rtdata", itemid=1)
    database.commit()


def wait(limit=60):
    end = time.monotonic() + limit
    while time.monotonic() < end:
        # Opened anew: nothing stands in the proxy's way in between.
        database = sqlite3.connect(DATABASE, timeout=5)
        values = database.execute("select value from proxy_history").fetchall()
        database.close()
        if values:
            print(values[0][0])
            return
        time.sleep(0.05)
    sys.exit("no value came")


{"make": make, "wait": wait}[sys.argv[1]](*sys.argv[2:])
