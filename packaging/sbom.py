"""What a package is made of, as SPDX 2.3: the package, all that it depends on, and what was compiled into it.

python3 packaging/sbom.py [--admindir=FOLDER] PACKAGE.deb

It is told by dpkg alone: of what is installed here, or in what that folder is the database of, which is what the package
was built with.
"""

import datetime
import hashlib
import json
import os
import pathlib
import re
import subprocess
import sys

# Sources of others that become part of the programs themselves.
COMPILED_IN = {
    "orvane-server": [],
    "orvane-lab": ["libcli11-dev", "nlohmann-json3-dev", "libjs-chart.js"],
}
FIELDS = ("Package", "Version", "Architecture", "Maintainer", "Homepage", "Depends", "Pre-Depends", "Provides",
          "source:Package", "source:Version", "db:Status-Status")


def groups(depends):
    """Names of alternatives, a list each: "a (>= 1) | b, c" is [["a", "b"], ["c"]]."""
    words = [[re.sub(r"[\s(:\[<].*", "", name.strip()) for name in group.split("|")] for group in depends.split(",")]
    return [names for names in words if names != [""]]


def closure(depends, installed):
    """Names of installed packages that these fields lead to, sorted. The first alternative that is installed counts."""
    found, waiting = set(), [depends]
    while waiting:
        for names in groups(waiting.pop()):
            name = next((name for name in names if name in installed), None)
            if name is None or installed[name]["Package"] in found:
                continue
            row = installed[name]
            found.add(row["Package"])
            waiting += [row["Depends"], row["Pre-Depends"]]
    return sorted(found)


def installed_packages(text):
    """Rows of dpkg-query by name; by what they provide, too, where no package has that name."""
    rows = [dict(zip(FIELDS, line.split("\t"))) for line in text.splitlines()]
    rows = [row for row in rows if row["db:Status-Status"] == "installed"]
    named = {row["Package"]: row for row in rows}
    for row in rows:
        for names in groups(row["Provides"]):
            named.setdefault(names[0], row)
    return named


def identifier(name):
    return "SPDXRef-" + re.sub(r"[^A-Za-z0-9.-]", lambda match: f"-{ord(match[0]):x}-", name)


def described(row):
    purl = f"pkg:deb/debian/{row['Package']}@{row['Version']}?arch={row['Architecture']}".replace("+", "%2B")
    return {
        "SPDXID": identifier(row["Package"]),
        "name": row["Package"],
        "versionInfo": row["Version"],
        "supplier": "Person: " + row["Maintainer"].replace("<", "(").replace(">", ")"),
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "sourceInfo": f"built by Debian from {row['source:Package']} {row['source:Version']}",
        "homepage": row["Homepage"] or "NOASSERTION",
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": "NOASSERTION",
        "copyrightText": "NOASSERTION",
        "externalRefs": [{"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": purl}],
    }


def document(control, digest, installed, epoch):
    """The list for a package: its control fields, its SHA-256, what is installed, seconds since 1970."""
    name, version = control["Package"], control["Version"]
    compiled_in = [package for package in COMPILED_IN[name] if package in installed]
    depended = closure(control["Depends"], installed)
    own = {
        "SPDXID": identifier(name),
        "name": name,
        "versionInfo": version,
        "supplier": "Person: " + control["Maintainer"].replace("<", "(").replace(">", ")"),
        "downloadLocation": "NOASSERTION",
        "filesAnalyzed": False,
        "checksums": [{"algorithm": "SHA256", "checksumValue": digest}],
        "licenseConcluded": "NOASSERTION",
        "licenseDeclared": "NOASSERTION",
        "copyrightText": "NOASSERTION",
    }
    links = [("SPDXRef-DOCUMENT", "DESCRIBES", identifier(name))]
    links += [(identifier(name), "DEPENDS_ON", identifier(package)) for package in depended]
    links += [(identifier(name), "STATIC_LINK", identifier(package)) for package in compiled_in]
    others = sorted(set(depended) | set(compiled_in))
    return {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": "SPDXRef-DOCUMENT",
        "name": f"{name} {version}",
        "documentNamespace": f"https://spdx.org/spdxdocs/{name}-{version}-{digest}".replace("+", "%2B"),
        "creationInfo": {
            "created": datetime.datetime.fromtimestamp(epoch, datetime.timezone.utc).strftime("%Y-%m-%dT%H:%M:%SZ"),
            "creators": ["Tool: script/package"],
        },
        "packages": [own] + [described(installed[package]) for package in others],
        "relationships": [
            {"spdxElementId": here, "relationshipType": kind, "relatedSpdxElement": there}
            for here, kind, there in links],
    }


def main():
    *database, place = sys.argv[1:]
    deb = pathlib.Path(place)
    text = subprocess.run(["dpkg-deb", "--field", deb], capture_output=True, text=True, check=True).stdout
    control = dict(line.split(": ", 1) for line in text.splitlines() if not line.startswith(" "))
    query = "\\t".join("${" + field + "}" for field in FIELDS) + "\\n"
    rows = subprocess.run(["dpkg-query", *database, "-W", "-f", query], capture_output=True, text=True, check=True).stdout
    digest = hashlib.sha256(deb.read_bytes()).hexdigest()
    json.dump(document(control, digest, installed_packages(rows), int(os.environ["SOURCE_DATE_EPOCH"])), sys.stdout,
              indent=1)
    print()


if __name__ == "__main__":
    main()
