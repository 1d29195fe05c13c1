// What the grammars make of texts, as an editor sees it.
"use strict";

const assert = require("node:assert");
const fs = require("node:fs");
const path = require("node:path");
const { test } = require("node:test");
const oniguruma = require("vscode-oniguruma");
const textmate = require("vscode-textmate");

const folder = path.join(__dirname, "..");
const examples = path.join(folder, "..", "..", "examples", "data");

const registry = new textmate.Registry({
    onigLib: oniguruma
        .loadWASM(fs.readFileSync(require.resolve("vscode-oniguruma/release/onig.wasm")).buffer)
        .then(() => ({
            createOnigScanner: (patterns) => new oniguruma.OnigScanner(patterns),
            createOnigString: (text) => new oniguruma.OnigString(text),
        })),
    loadGrammar: async (scope) => {
        const file = path.join(folder, "syntaxes", scope.replace("source.", "") + ".tmLanguage.json");
        return textmate.parseRawGrammar(fs.readFileSync(file, "utf8"), file);
    },
});

// [text, innermost scope without the language's name] of each piece of the lines that is not white space; what follows each
// other in one scope is one piece.
async function pieces(scope, text) {
    const grammar = await registry.loadGrammar(scope);
    const found = [];
    let state = textmate.INITIAL;
    for (const line of text.split(/\r?\n/)) {
        const { tokens, ruleStack } = grammar.tokenizeLine(line, state);
        state = ruleStack;
        const ofLine = [];
        for (const token of tokens) {
            const piece = line.slice(token.startIndex, token.endIndex);
            const name = token.scopes.at(-1).replace(/\.?kelmscript(-data)?$/, "");
            if (ofLine.at(-1)?.[1] === name) ofLine.at(-1)[0] += piece;
            else ofLine.push([piece, name]);
        }
        found.push(...ofLine.filter(([piece]) => piece.trim() !== ""));
    }
    return found;
}

// Of one text, as "text:scope text:scope", without punctuation.
async function shown(scope, text) {
    const told = (await pieces(scope, text)).filter(([, name]) => !name.startsWith("punctuation") && name !== "source");
    return told.map(([piece, name]) => `${piece.trim()}:${name}`).join(" ");
}

const data = [
    ["# one", "# one:comment.line.number-sign"],
    ["a = 1 // two", "a:variable.other.member =:keyword.operator.assignment 1:constant.numeric.integer // two:comment.line.double-slash"],
    ["/* a\nb */ c = 2", "/* a:comment.block b */:comment.block c:variable.other.member =:keyword.operator.assignment 2:constant.numeric.integer"],
    ["garden::Plan {", "garden::Plan:entity.name.type"],
    ["people.Person (", "people.Person:entity.name.type"],
    ["people::Person // one", "people::Person:entity.name.type // one:comment.line.double-slash"],
    ["a /* b */ = C /* d */ (", "a:variable.other.member /* b */:comment.block =:keyword.operator.assignment C:entity.name.type /* d */:comment.block"],
    ["polygon [", "polygon:entity.name.type"],
    ["level = CANOPY", "level:variable.other.member =:keyword.operator.assignment CANOPY:constant.other.enumerator"],
    ["x = -0x1F", "x:variable.other.member =:keyword.operator.assignment -0x1F:constant.numeric.hex"],
    ["[-1.5e3, .5, 2., 7]", "-1.5e3:constant.numeric.float .5:constant.numeric.float 2.:constant.numeric.float 7:constant.numeric.integer"],
    ["true = false", "true:variable.other.member =:keyword.operator.assignment false:constant.language"],
    ["1 -> null", "1:constant.numeric.integer ->:keyword.operator.entry null:constant.language"],
    ["'a\\n'", "'a:string.quoted.single \\n:constant.character.escape ':string.quoted.single"],
    ['"\\q//"', '":string.quoted.double \\q:invalid.illegal.escape //":string.quoted.double'],
    ['"open\nb = 1', '"open:string.quoted.double b:variable.other.member =:keyword.operator.assignment 1:constant.numeric.integer'],
];

const expressions = [
    ["1+2.5", "1:constant.numeric.integer +:keyword.operator 2.5:constant.numeric.float"],
    ["sin(x) ^^ 2", "sin:support.function x:variable.other ^^:keyword.operator 2:constant.numeric.integer"],
    ["order.lines[0].price", "order:variable.other lines:variable.other.member 0:constant.numeric.integer price:variable.other.member"],
    ["vat(a) != true", "vat:entity.name.function a:variable.other !=:keyword.operator true:constant.language"],
    ["a <= b", "a:variable.other <=:keyword.operator b:variable.other"],
    ["a <<= b", "a:variable.other <<=:keyword.operator.assignment b:variable.other"],
    ["a += 'b' // c", "a:variable.other +=:keyword.operator.assignment 'b':string.quoted.single // c:comment.line.double-slash"],
    ["a == b ? c : d", "a:variable.other ==:keyword.operator b:variable.other ?:keyword.operator c:variable.other ::keyword.operator d:variable.other"],
];

for (const [scope, table] of [
    ["source.kelmscript-data", data],
    ["source.kelmscript", expressions],
])
    for (const [text, expected] of table)
        test(`${scope}: ${JSON.stringify(text)}`, async () => assert.equal(await shown(scope, text), expected));

const files = [examples, path.join(examples, "byhand")]
    .filter((place) => fs.existsSync(place))
    .flatMap((place) => fs.readdirSync(place).map((name) => path.join(place, name)))
    .filter((file) => file.endsWith(".kds"));

for (const file of files)
    test(`${path.basename(file)} has a colour for everything`, async () => {
        const plain = (await pieces("source.kelmscript-data", fs.readFileSync(file, "utf8").replace(/^\uFEFF/, "")))
            .filter(([, name]) => name === "source" || name.startsWith("invalid"));
        assert.deepEqual(plain, []);
    });
