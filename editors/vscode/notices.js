// Writes dist/NOTICES.txt: the licences of the packages that dist/extension.js is made of, as the bundler tells them.
"use strict";

const fs = require("node:fs");
const path = require("node:path");

const { inputs } = JSON.parse(fs.readFileSync("dist/inputs.json", "utf8"));
const packages = new Set(Object.keys(inputs).map((file) => file.match(/^node_modules\/(?:@[^/]+\/)?[^/]+/)?.[0]));
packages.delete(undefined);

const notices = [...packages].sort().map((folder) => {
    const { name, version } = JSON.parse(fs.readFileSync(path.join(folder, "package.json"), "utf8"));
    const licence = fs.readdirSync(folder).find((file) => /^licen[cs]e/i.test(file));
    if (licence === undefined) throw new Error(`${name} has no licence`);
    return `${name} ${version}\n\n${fs.readFileSync(path.join(folder, licence), "utf8").trim()}\n`;
});
fs.writeFileSync("dist/NOTICES.txt", notices.join("\n" + "-".repeat(80) + "\n\n"));
