"""What must hold for a list of contents, beside its form, which spdx-2.3.schema.json has: its licences are expressions of
SPDX, its references lead somewhere, and its numbers are those of the files."""

import hashlib
import json
from pathlib import Path

import jsonschema
from license_expression import ExpressionError, ExpressionParseError, get_spdx_licensing

SCHEMA = json.loads((Path(__file__).parent / "spdx-2.3.schema.json").read_text())
LICENSING = get_spdx_licensing()
CONCLUSIONS = ("NOASSERTION", "NONE")


def licence_problems(expression: str, own: set) -> list[str]:
    """What is wrong with a licence: not an expression, or of licences that neither SPDX nor the document knows."""
    if expression in CONCLUSIONS:
        return []
    try:
        unknown = LICENSING.unknown_license_keys(LICENSING.parse(expression))
    except (ExpressionError, ExpressionParseError) as error:
        return [f"{expression}: {error}"]
    return [f"{expression}: unknown licence {name}" for name in unknown if name not in own]


def problems(document: dict) -> list[str]:
    """Everything that is wrong with the document by itself."""
    found = [f"{'/'.join(map(str, error.absolute_path))}: {error.message}"
             for error in jsonschema.Draft7Validator(SCHEMA).iter_errors(document)]
    if found:
        return found
    own = {entry["licenseId"] for entry in document["hasExtractedLicensingInfos"]}
    elements = [document, *document["packages"], *document["files"]]
    identifiers = [element["SPDXID"] for element in elements]
    found += [f"{name} stands twice" for name in sorted(set(identifiers)) if identifiers.count(name) > 1]
    for element in elements[1:]:
        stated = [element.get("licenseConcluded"), element.get("licenseDeclared"),
                  *element.get("licenseInfoInFiles", []), *element.get("licenseInfoFromFiles", [])]
        for expression in filter(None, stated):
            found += licence_problems(expression, own)
    for relation in document["relationships"]:
        found += [f"a relationship names {relation[end]}, which is not there"
                  for end in ("spdxElementId", "relatedSpdxElement") if relation[end] not in identifiers]
    return found


def related(document: dict, relation: str) -> dict[str, set]:
    """Names of files and packages, and those that they stand in this relation to."""
    names = {element["SPDXID"]: element.get("fileName") or element["name"]
             for element in [document, *document["packages"], *document["files"]]}
    pairs = {}
    for entry in document["relationships"]:
        if entry["relationshipType"] == relation:
            pairs.setdefault(names[entry["spdxElementId"]], set()).add(names[entry["relatedSpdxElement"]])
    return pairs


def differences(document: dict, tree: Path) -> list[str]:
    """Where the document and the tree of the package say different things."""
    main = document["packages"][0]
    excluded = set(main["packageVerificationCode"]["packageVerificationCodeExcludedFiles"])
    there = {"./" + str(path.relative_to(tree)) for path in tree.rglob("*") if path.is_file()} - excluded
    listed = {file["fileName"]: file for file in document["files"]}
    found = [f"not listed: {name}" for name in sorted(there - set(listed))]
    found += [f"not there: {name}" for name in sorted(set(listed) - there)]
    for name in sorted(there & set(listed)):
        for checksum in listed[name]["checksums"]:
            real = hashlib.new(checksum["algorithm"].lower(), (tree / name).read_bytes()).hexdigest()
            if real != checksum["checksumValue"]:
                found.append(f"{checksum['algorithm']} of {name} differs")
    sums = "".join(sorted(hashlib.sha1((tree / name).read_bytes()).hexdigest() for name in there))
    if hashlib.sha1(sums.encode()).hexdigest() != main["packageVerificationCode"]["packageVerificationCodeValue"]:
        found.append("the verification code differs")
    return found
