"""What a language server and its client may send, by the protocol's own types."""

import json
import pathlib
import urllib.parse

MODEL = json.loads((pathlib.Path(__file__).parent / "protocol.schema.json").read_text())
KINDS = {"object": dict, "array": list, "string": str, "boolean": bool, "integer": int, "number": (int, float),
         "null": type(None)}


def is_of(value, kind):
    if isinstance(value, bool):
        return kind == "boolean"
    return isinstance(value, KINDS[kind])


def faults_of(value, schema, way=""):
    """What of a value is not as the schema says, each with its place."""
    if "$ref" in schema:
        name = urllib.parse.unquote(schema["$ref"].rsplit("/", 1)[1])
        return faults_of(value, MODEL["definitions"][name], way)
    if "anyOf" in schema:
        all_faults = [faults_of(value, choice, way) for choice in schema["anyOf"]]
        return min(all_faults, key=len) if all(all_faults) else []
    if "not" in schema:
        return [] if faults_of(value, schema["not"], way) else [f"{way} must not be"]
    kinds = schema.get("type", [])
    if kinds and not any(is_of(value, kind) for kind in ([kinds] if isinstance(kinds, str) else kinds)):
        return [f"{way} is {json.dumps(value)[:60]}, and no {kinds}"]
    if value not in schema.get("enum", [value]) or value != schema.get("const", value):
        return [f"{way} cannot be {value}"]
    faults = []
    if isinstance(value, int) and not schema.get("minimum", value) <= value <= schema.get("maximum", value):
        faults.append(f"{way} is out of range")
    if isinstance(value, list):
        if not schema.get("minItems", 0) <= len(value) <= schema.get("maxItems", len(value)):
            faults.append(f"{way} has {len(value)} elements")
        for index, element in enumerate(value):
            faults += faults_of(element, schema.get("items", {}), f"{way}[{index}]")
    if isinstance(value, dict):
        faults += [f"{way}.{name} is missing" for name in schema.get("required", []) if name not in value]
        for name, member in value.items():
            of_member = schema.get("properties", {}).get(name, schema.get("additionalProperties", {}))
            if of_member is False:
                faults.append(f"{way}.{name} is unknown")
            else:
                faults += faults_of(member, of_member if of_member is not True else {}, f"{way}.{name}")
    return faults


def faults_of_sent(method, value):
    """Of the result of a request, or the parameters of a notification."""
    sent = MODEL["definitions"]["Sent"]["properties"]
    return faults_of(value, sent[method], method) if method in sent else [f"nothing is sent for {method}"]


def faults_of_asked(method, value):
    """Of the parameters of what a client sends."""
    asked = MODEL["definitions"]["Asked"]["properties"]
    return faults_of(value, asked[method], method) if method in asked else [f"nobody asks for {method}"]


def faults_of_message(message, methods):
    """Of a whole message of a server; the methods of requests by their ids, as far as they are known."""
    if message.get("jsonrpc") != "2.0":
        return ["it is not of JSON-RPC 2.0"]
    if "method" in message:
        return faults_of_sent(message["method"], message["params"])
    unknown = set(message) - {"jsonrpc", "id", "result", "error"}
    if unknown or "id" not in message or ("result" in message) == ("error" in message):
        return ["it is no answer"]
    if "error" in message:
        error = message["error"]
        is_one = is_of(error.get("code"), "integer") and is_of(error.get("message"), "string")
        return [] if is_one and set(error) <= {"code", "message", "data"} else ["its error is none"]
    method = methods.get(message["id"])
    return faults_of_sent(method, message["result"]) if method else []
