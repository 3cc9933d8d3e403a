"""Sees and controls a networked public-address system: docs/python.md."""
from publicaddress._native import *
