"""Whether the SBOM of a package is one. usage: check_sbom.py TREE SBOM"""
import hashlib
import json
import pathlib
import re
import subprocess
import sys


def check(condition, what):
    if not condition:
        raise SystemExit(f"check_sbom: {sys.argv[2]}: {what}")


def required(thing, fields):
    for field in fields.split():
        check(field in thing and thing[field] != "", f"{thing.get('name', thing.get('SPDXID'))} lacks {field}")


tree, sbom = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
document = json.loads(sbom.read_text())
required(document, "spdxVersion dataLicense SPDXID name documentNamespace creationInfo packages files relationships")
check(document["spdxVersion"] == "SPDX-2.3" and document["dataLicense"] == "CC0-1.0", "version or its own licence")
check(re.fullmatch(r"https://[^#\s]+", document["documentNamespace"]), "namespace")
check(re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", document["creationInfo"]["created"]), "date")
check(all(re.match("(Tool|Organization|Person): .", one) for one in document["creationInfo"]["creators"]), "creators")

ids = [document["SPDXID"], *(one["SPDXID"] for one in document["packages"] + document["files"])]
check(len(ids) == len(set(ids)), "an identifier stands twice")
check(all(re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", one) for one in ids), "identifiers")
for one in document["packages"]:
    required(one, "SPDXID name downloadLocation filesAnalyzed licenseConcluded licenseDeclared copyrightText")
    if one["filesAnalyzed"]:
        required(one, "packageVerificationCode licenseInfoFromFiles versionInfo")
        sums = sorted(file["checksums"][0]["checksumValue"] for file in document["files"])
        check(one["packageVerificationCode"]["packageVerificationCodeValue"]
              == hashlib.sha1("".join(sums).encode()).hexdigest(), "verification code")
    if one["SPDXID"].startswith("SPDXRef-Debian-"):
        required(one, "versionInfo supplier externalRefs")
for one in document["files"]:
    required(one, "SPDXID fileName checksums licenseConcluded copyrightText")
links = {(one["spdxElementId"], one["relationshipType"], one["relatedSpdxElement"]) for one in document["relationships"]}
check(all(one in ids and other in ids for one, _, other in links), "a relationship with nobody")
subjects = {other for one, kind, other in links if (one, kind) == (document["SPDXID"], "DESCRIBES")}
check(len(subjects) == 1, "what the document describes")
package = subjects.pop()
names = {one["SPDXID"]: one["name"] for one in document["packages"]}

listed = {one["fileName"]: one for one in document["files"]}
held = {"./" + path.relative_to(tree).as_posix(): path for path in tree.rglob("*")
        if path.is_file() and not path.is_symlink() and path.resolve() != sbom.resolve()}
check(listed.keys() == held.keys(), f"files: {sorted(listed.keys() ^ held.keys())}")
programs = 0
for name, path in held.items():
    file = listed[name]
    data = path.read_bytes()
    sums = {one["algorithm"]: one["checksumValue"] for one in file["checksums"]}
    check(sums == {"SHA1": hashlib.sha1(data).hexdigest(), "SHA256": hashlib.sha256(data).hexdigest()}, f"sums of {name}")
    check((package, "CONTAINS", file["SPDXID"]) in links, f"{name} is in no package")
    if data[:4] == b"\x7fELF":
        wanted = subprocess.run(["readelf", "-dW", path], check=True, capture_output=True, text=True).stdout.count("(NEEDED)")
    elif data[:2] == b"MZ":
        wanted = subprocess.run(["x86_64-w64-mingw32-objdump", "-p", path], check=True, capture_output=True,
                                text=True).stdout.count("DLL Name:")
    else:
        continue
    programs += 1
    linked = [other for one, kind, other in links if one == file["SPDXID"] and kind == "DYNAMIC_LINK"]
    # Several libraries may be of one package.
    check(wanted == 0 or 0 < len(linked) <= wanted, f"{name} needs {wanted} libraries, and {linked} are named")
    if re.search(r"(^|/)kv(\.exe)?$", name):
        static = {names[other] for one, kind, other in links if one == file["SPDXID"] and kind == "STATIC_LINK"}
        check("libcli11-dev" in static, f"static inputs of {name}: {static}")
print(f"{sbom.name}: {len(held)} files, {programs} programs and libraries, {len(names)} packages")
