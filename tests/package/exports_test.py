"""Lists the exported symbols of shared libraries, and fails on one that is the project's own: exports_test.py NM LIBRARY..."""

import re
import subprocess
import sys

# A name in detail, or its type's tables; not what merely takes such a thing.
DETAIL = re.compile(r"((typeinfo|typeinfo name|vtable|guard variable) for )?tilvanego::([a-z]\w*::)*detail::")

nm, *libraries = sys.argv[1:]
failed = False
for library in libraries:
    listing = subprocess.run([nm, "-DC", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    symbols = [line.split(maxsplit=2)[2] for line in listing.splitlines()]
    own = [symbol for symbol in symbols if DETAIL.match(symbol)]
    known = sum("tilvanego::" in symbol for symbol in symbols)
    print(f"{library}: {len(symbols)} exported symbols, {known} of tilvanego, {len(own)} of detail")
    print("".join(f"  {symbol}\n" for symbol in own[:20]), end="")
    failed |= bool(own) or known == 0
sys.exit(failed)
