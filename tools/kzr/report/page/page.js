"use strict";

const run = JSON.parse(document.getElementById("run").textContent);
document.getElementById("name").textContent = run.run.name;
