#!/usr/bin/env python3
# SPDX-License-Identifier: MIT
"""Runs an SQL statement on the database that LX_SQLITE_DATABASE names, from outside the server.

usage: edit_database.py STATEMENT
"""
import os
import sqlite3
import sys

database = sqlite3.connect(os.environ["LX_SQLITE_DATABASE"])
with database:
    database.execute(sys.argv[1])
database.close()
