// Behind which lines an editor indents.
"use strict";

const assert = require("node:assert");
const { test } = require("node:test");
const { indentationRules } = require("../language-configuration.json");

const rows = [
    ["garden.Plan {", true],
    ["layers = [", true],
    ["position = (", true],
    ["layers = [ // of the plan", true],
    ["layers = [ // don't (yet)", true],
    ["layers = [ /* of the plan", true],
    ["title = \"(\" layers = [", true],
    ["layers = [(1, 2), {}, [3]", true],
    ["name = 'it\\'s' {", true],
    ["title = \"Yard\"", false],
    ["title = \"{\"", false],
    ["title = \"a \\\" {\"", false],
    ["position = (1, 2)", false],
    ["// see (there", false],
    ["/* see { there", false],
    ["x = 1 // see (there", false],
    ["# see (there", false],
    ["x = 1 /* ( */", false],
    ["]", false],
    ["", false],
];

test("indentation", () => {
    const increases = new RegExp(indentationRules.increaseIndentPattern);
    const decreases = new RegExp(indentationRules.decreaseIndentPattern);
    for (const [line, isIncreased] of rows) assert.strictEqual(increases.test(line), isIncreased, line);
    for (const line of ["}", "  ],", ")"]) assert.ok(decreases.test(line), line);
    assert.ok(!decreases.test("x = [ ]"));
    increases.test("(".repeat(2000) + "\"".repeat(2001)); // comes back
});
