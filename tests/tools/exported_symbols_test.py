"""libvel exports its public API and nothing else: every symbol `nm -D --defined-only` lists
belongs to a class or function that a public header marks VEL_API.

    exported_symbols_test.py LIBVEL INCLUDE_DIR"""
import os
import re
import subprocess
import sys

SPECIAL = ("typeinfo name for ", "typeinfo for ", "vtable for ", "VTT for ", "guard variable for ")


def public_names(include_dir):
    """The classes, structs, functions and variables the public headers declare with VEL_API,
    and the types their stream operators print."""
    names = set()
    for folder, _, files in os.walk(include_dir):
        for name in files:
            with open(os.path.join(folder, name)) as f:
                text = f.read()
            names.update(re.findall(r"\b(?:class|struct) VEL_API (\w+)", text))
            names.update(re.findall(r"VEL_API [^;{(]*?\b(\w+)\s*\(", text))
            names.update(re.findall(r"extern VEL_API [^;]*?\b(\w+);", text))
            names.update(re.findall(r"VEL_API aio_ostream& operator<<\(aio_ostream& \w+, const (\w+)",
                                    text))
    return names


def owner(symbol):
    """The outermost name of a demangled symbol: its class, or the function itself."""
    for prefix in SPECIAL:
        if symbol.startswith(prefix):
            symbol = symbol[len(prefix):]
    symbol = re.sub(r"^__odr_asan\.", "", symbol)  # AddressSanitizer's twin of a global
    symbol = re.sub(r"^decltype \(.*?\)\) ", "", symbol)  # a deduced return type
    symbol = re.sub(r"^[\w:<>,* &]+? (?=[\w:]+(<.*>)?::)", "", symbol)  # a return type
    printed = re.match(r"operator<<\(std::ostream&, (\w+)", symbol)  # by the type it prints
    return printed.group(1) if printed else re.match(r"\w+", symbol).group(0)


def main():
    library, include_dir = sys.argv[1:3]
    listed = subprocess.run(["nm", "-DC", "--defined-only", library], capture_output=True,
                            text=True, check=True).stdout.splitlines()
    symbols = [line.split(" ", 2)[2] for line in listed if line.count(" ") >= 2]
    # The standard library's own (its classes' type information, instantiations the version
    # script cannot tell by name) belong to no one's API.
    allowed = public_names(include_dir) | {"std", "__gnu_cxx"}
    strays = sorted({s for s in symbols if owner(s) not in allowed})
    for stray in strays[:40]:
        print("not public:", stray)
    print(f"{len(symbols)} exported symbols, {len(strays)} outside the public API")
    return 1 if strays or not symbols else 0


if __name__ == "__main__":
    sys.exit(main())
