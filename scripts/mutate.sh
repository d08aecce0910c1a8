#!/bin/sh
# Mutation test: changes one line of src/zev at a time and sees whether a test notices.
#
#     scripts/mutate.sh [COUNT [SEED]]        100 mutants, seed from the clock
#
# Works on a copy of the sources in build/mutate, without ccache, at -O1. Prints the survivors and the score.
# tests/mutants-equivalent.txt names mutants that no test can kill, one per line: file|old line|new line|why.
exec python3 - "$(cd "$(dirname "$0")/.." && pwd)" "$@" <<'PYTHON'
import collections, difflib, json, os, pathlib, random, re, shlex, shutil, subprocess, sys, time

root = pathlib.Path(sys.argv[1])
count = int(sys.argv[2]) if len(sys.argv) > 2 else 100
seed = int(sys.argv[3]) if len(sys.argv) > 3 else int(time.time())
work = root / "build" / "mutate"
tree, build = work / "tree", work / "build"
rooms = ["params", "tables", "regions", "dicom", "presets", "autowindow"]
env = dict(os.environ, CCACHE_DISABLE="1")
timeout = 60


def run(command, cwd=build, limit=None):
    try:
        done = subprocess.run(command, cwd=cwd, env=env, timeout=limit, stdout=subprocess.PIPE,
                              stderr=subprocess.STDOUT, text=True, errors="replace")
        return done.returncode, done.stdout
    except subprocess.TimeoutExpired:
        return -1, "timeout"


def prepare():
    shutil.rmtree(tree, ignore_errors=True)
    tree.mkdir(parents=True)
    names = subprocess.run(["git", "ls-files", "-z"], cwd=root, check=True, stdout=subprocess.PIPE).stdout
    for name in names.decode().split("\0"):
        if name and (root / name).is_file():
            (tree / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(root / name, tree / name)
    code, text = run(["cmake", "-S", str(tree), "-B", str(build), "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Debug",
                      "-DCMAKE_CXX_FLAGS_DEBUG=-O1", "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON"], cwd=root)
    if code == 0:
        code, text = run(["ninja", *("test_" + room for room in rooms), "libzev"])
    if code != 0:
        sys.exit("cannot build:\n" + text[-3000:])


SWAPS = [(r" <= ", [" < "]), (r" >= ", [" > "]), (r" < (?!<)", [" <= ", " > "]), (r" > (?!>)", [" >= ", " < "]),
         (r" == ", [" != "]), (r" != ", [" == "]), (r" && ", [" || "]), (r" \|\| ", [" && "]),
         (r" \+ ", [" - "]), (r" - ", [" + "]), (r" \* (?=[\w(])", [" / "]), (r" / ", [" * "]),
         (r"\btrue\b", ["false"]), (r"\bfalse\b", ["true"]), (r"\+\+", ["--"])]
STATEMENT = re.compile(r"^\s+(?!return|throw|delete|using|static|const|auto|case|break|continue|if|else|for|while)"
                       r"[\w:.>\-\[\]*&]+( [-+|^]?= .+|\(.*\))?;$")


def mutants_of(path):
    """(line number, new line) for every one-line change that is tried."""
    for number, line in enumerate((tree / path).read_text().split("\n")):
        code = line.split("//")[0].rstrip()
        if not code.strip() or code.lstrip().startswith(("#", "template", "ZEV_LOG", "*", "static_assert")):
            continue
        if '"' in code:  # texts are not code
            continue
        for pattern, replacements in SWAPS:
            for match in re.finditer(pattern, code):
                for new in replacements:
                    yield number, code[:match.start()] + new + code[match.end():]
        for match in re.finditer(r"(?<![\w.])(\d+)(?![\w.])", code):
            for step in (1, -1):
                yield number, code[:match.start()] + str(int(match[1]) + step) + code[match.end():]
        match = re.match(r"^(\s*(?:\} else )?if \()(.*)(\)(?: \{|.*;)?)$", code)
        if match and " = " not in match[2] and match[2].count("(") == match[2].count(")"):
            yield number, f"{match[1]}!({match[2]}){match[3]}"
        if STATEMENT.match(code) and ("(" in code or " = " in code):
            yield number, re.match(r"\s*", code)[0] + ";"


def commands():
    found = {}
    for entry in json.loads((build / "compile_commands.json").read_text()):
        path = pathlib.Path(entry["file"])
        if path.parent == tree / "src/zev":
            found[path.name] = shlex.split(entry["command"])
    return found


def users_of_header(name, sources):
    pattern = re.compile(r'#include "' + re.escape(name) + '"')
    headers, todo = {name}, [name]
    while todo:
        head = todo.pop()
        for other in (tree / "src/zev").glob("*.h"):
            if other.name not in headers and f'#include "{head}"' in other.read_text():
                headers.add(other.name)
                todo.append(other.name)
    return [s for s in sources if any(f'#include "{h}"' in (tree / "src/zev" / s).read_text() for h in headers)]


def judge(path, number, new, compile_of):
    """'broken', 'killed by ...' or 'survived'."""
    source = tree / path
    old = source.read_text()
    lines = old.split("\n")
    lines[number] = new
    source.write_text("\n".join(lines))
    name = source.name
    try:
        for unit in [name] if name.endswith(".cpp") else users_of_header(name, compile_of):
            if run(compile_of[unit] + ["-w"])[0] != 0:
                return "broken"
        if run(link)[0] != 0:
            return "broken"
        # Tests of headers see the change only after a compilation of their own; they are not rebuilt.
        for room in rooms:
            code, _ = run([str(build / f"test_{room}"), "--gtest_fail_fast", "--gtest_brief=1"], limit=timeout)
            if code != 0:
                return f"killed by {room}"
        return "survived"
    finally:
        source.write_text(old)
        for unit in [name] if name.endswith(".cpp") else users_of_header(name, compile_of):
            stale.add(unit)


prepare()
compile_of = commands()
link_line = run(["ninja", "-t", "commands", "libzev"])[1].strip().split("\n")
link = ["sh", "-c", next(l for l in reversed(link_line) if "libzev.so" in l and "-shared" in l)]
stale = set()
equivalent = set()
listed = root / "tests" / "mutants-equivalent.txt"
if listed.exists():
    for line in listed.read_text().split("\n"):
        if line and not line.startswith("#"):
            equivalent.add(tuple(part.strip() for part in line.split("|")[:3]))

candidates = []
for path in sorted((tree / "src/zev").glob("*.[ch]*")):
    if path.suffix in (".cpp", ".h"):
        name = str(path.relative_to(tree))
        candidates += [(name, number, new) for number, new in mutants_of(name)]
random.Random(seed).shuffle(candidates)
print(f"{len(candidates)} possible mutants, {count} tried, seed {seed}", flush=True)
result = collections.Counter()
for path, number, new in candidates:
    if result["killed"] + result["survived"] + result["equivalent"] >= count:
        break
    old = (tree / path).read_text().split("\n")[number]
    if (path, old.strip(), new.strip()) in equivalent:
        result["equivalent"] += 1
        continue
    for unit in sorted(stale):  # objects of the mutant before
        run(compile_of[unit] + ["-w"])
    stale.clear()
    verdict = judge(path, number, new, compile_of)
    result[verdict.split(" ")[0]] += 1
    if verdict == "survived":
        print(f"SURVIVED {path}:{number + 1}\n  - {old.strip()}\n  + {new.strip()}", flush=True)
tried = result["killed"] + result["survived"]
print(f"{result['killed']} of {tried} killed ({100 * result['killed'] // max(tried, 1)} %), "
      f"{result['equivalent']} known as equivalent, {result['broken']} did not compile")
sys.exit(1 if result["survived"] else 0)
PYTHON
