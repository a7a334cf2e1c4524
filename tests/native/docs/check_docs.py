#!/usr/bin/env python3
"""Looks for what the pages promise and the tree does not have: files and chapters that links lead to, members of the
control in code, commands; and for messages of the control that the page for them leaves out."""

import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[3]
PAGES = [*ROOT.glob("*.md"), *(ROOT / "docs").glob("*.md"), *(ROOT / "samples").rglob("*.md"), ROOT / "tests/README.md",
         ROOT / "simulator/README.md"]
IDL = (ROOT / "control/NorixSDK.idl").read_text(encoding="utf-8")
MEMBERS = set(re.findall(r"^\s*(?:\[[^\]]*\]\s*)*[A-Z_a-z]+\*?\s+(\w+)\((?:\[|void|\))", IDL, re.M))
PROGIDS = {"NORIXSDK.NorixSDKCtrl", "NORIXSDK.NorixSDKCtrl.1"}


def anchors(page):
    text = re.sub(r"^```.*?^```", "", page.read_text(encoding="utf-8"), flags=re.M | re.S)
    titles = (re.sub(r"[`*]|<[^>]*>|\]\([^)]*\)|\[", "", title) for title in re.findall(r"^#+ (.*)$", text, re.M))
    return {re.sub(r"[^\w\- ]", "", title.strip().lower()).replace(" ", "-") for title in titles} | set(
        re.findall(r'<a id="([^"]+)">', text))


def links(page):
    text = re.sub(r"^```.*?^```|`[^`\n]*`", "", page.read_text(encoding="utf-8"), flags=re.M | re.S)
    for target in re.findall(r"\]\(([^)\s]+)\)", text):
        if "://" in target:
            continue
        path, _, chapter = target.partition("#")
        file = (page.parent / path).resolve() if path else page
        if not file.exists():
            yield f"no file {target}"
        elif chapter and chapter not in anchors(file):
            yield f"no chapter {target}"


def code(page):
    """Fenced blocks in languages of hosts, and whole scripts and pages."""
    text = page.read_text(encoding="utf-8")
    if page.suffix == ".md":
        return "\n".join(re.findall(r"^```(?:js|vb|html|pascal|cs|py|cpp)\n(.*?)^```", text, re.M | re.S))
    return text


def names(page):
    text = code(page)
    for member in re.findall(r"\bcamera[._](\w+)", text):
        if member not in MEMBERS | {"attachEvent"}:  # of the browser's element
            yield f"the control has no member {member}"
    for event in re.findall(r'attachEvent\("(\w+)', text):
        if event not in MEMBERS:
            yield f"the control has no event {event}"
    for event in re.findall(r'event="(\w+)', text):
        if event not in MEMBERS:
            yield f"the control has no event {event}"
    for progid in re.findall(r"\bNORIXSDK\.[\w.]*\w", text):
        if progid not in PROGIDS:
            yield f"no class is called {progid}"


def commands(page):
    for command in re.findall(r"^    (\./\w+|scripts/[\w.-]+)", page.read_text(encoding="utf-8"), re.M):
        if not (ROOT / command).is_file():
            yield f"no command {command}"


def messages():
    """Every status and reason that the control shows has its line."""
    page = (ROOT / "docs/troubleshooting.md").read_text(encoding="utf-8")
    failures = "".join((ROOT / f"net/Failure.{end}").read_text() for end in ("h", "cpp"))
    texts = re.findall(r'inline constexpr char k\w+\[\] = "([^"]+)"|(?:return|\?|:) "([a-z][^"]*?) ?"', failures)
    display = (ROOT / "control/connection/StatusDisplay.cpp").read_text()
    wanted = [one or other for one, other in texts] + re.findall(r'\{"e\w+", L"([^"]+)"', display)
    wanted += re.findall(r'NoteFailure\("([^"]+)"', (ROOT / "include/RTSP/RTSPSession.cpp").read_text())
    assert len(wanted) > 20, "the texts are somewhere else now"
    yield from (f"nothing is said of the message '{text}'" for text in wanted if text not in page)
    for value in re.findall(r"\b(ecs\w+) = (\d)", IDL):
        if not re.search(rf"^\| {value[1]} \|", page, re.M):
            yield f"nothing is said of the status {value[0]}"


def main():
    assert len(MEMBERS) > 100, f"only {len(MEMBERS)} members found"
    found = [f"{page.relative_to(ROOT)}: {complaint}" for page in PAGES for check in (links, names, commands)
             for complaint in check(page)]
    scripts = [*(ROOT / "samples/script").iterdir(), *(ROOT / "samples/page").iterdir()]
    found += [f"{script.relative_to(ROOT)}: {complaint}" for script in scripts for complaint in names(script)]
    found += [f"docs/troubleshooting.md: {complaint}" for complaint in messages()]
    print(*found, f"{len(PAGES)} pages, {len(scripts)} scripts: {len(found)} complaints", sep="\n")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
