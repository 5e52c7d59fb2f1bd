#include "page_assets.h"

namespace tool {

const char* const PAGE_STYLE = R"css(
:root { --aceito: #2e7d32; --recusado: #b26a00; --falha: #c62828; --sem_resposta: #6a1b9a; --faint: #667; }
* { box-sizing: border-box; }
body { margin: 0; font: 15px/1.45 system-ui, sans-serif; color: #223; background: #f4f6f8; }
header { position: sticky; top: 0; z-index: 1; padding: 12px 20px; background: #fff; border-bottom: 1px solid #d5dbe1; }
h1 { margin: 0 0 8px; font-size: 19px; }
#filters { display: flex; flex-wrap: wrap; gap: 8px 14px; align-items: center; }
select, input[type=search] { padding: 4px 8px; font: inherit; border: 1px solid #b8c1cb; border-radius: 6px; }
label { white-space: nowrap; }
#count { color: var(--faint); }
#drawing { display: block; width: 100%; height: 92px; margin-top: 10px; }
#drawing text { font: 11px system-ui, sans-serif; fill: var(--faint); }
#drawing line { stroke: #d5dbe1; }
#drawing rect { cursor: pointer; }
main { max-width: 1100px; margin: 16px auto; padding: 0 20px; }
article { margin-bottom: 10px; padding: 10px 14px; background: #fff; border: 1px solid #d5dbe1; border-left: 5px solid; border-radius: 6px; }
article h2 { display: flex; flex-wrap: wrap; gap: 4px 12px; margin: 0; font-size: 15px; }
article h2 .quiet, .step .at { color: var(--faint); font-weight: normal; }
.reason { margin: 4px 0; }
.remedy { margin: 4px 0; padding: 4px 10px; background: #fff8e1; border-radius: 4px; }
.step { display: grid; grid-template-columns: 90px 1fr; }
.step.bad { color: var(--falha); }
summary { cursor: pointer; color: #0b57a4; }
pre { overflow-x: auto; padding: 8px; font-size: 12px; background: #f4f6f8; border-radius: 4px; white-space: pre-wrap; word-break: break-all; }
.marked { outline: 3px solid #0b57a4; }
)css";

const char* const PAGE_BODY = R"html(<header>
<h1 id="title"></h1>
<div id="filters"><select id="command"></select><span id="outcomes"></span><input id="search" type="search"><span id="count"></span></div>
<svg id="drawing" role="img"></svg>
</header>
<main id="list"></main>
)html";

const char* const PAGE_SCRIPT = R"js(
const outcomes = ["aceito", "recusado", "falha", "sem_resposta"];
const colour = name => getComputedStyle(document.documentElement).getPropertyValue("--" + name);
const byId = id => document.getElementById(id);

function element(name, text, className) {
    const made = document.createElement(name);
    if (text !== undefined) made.textContent = text;
    if (className) made.className = className;
    return made;
}

function day(text) {
    return text.slice(6) + "/" + text.slice(4, 6) + "/" + text.slice(0, 4);
}

function makeFilters() {
    const commands = [...new Set(timeline.trocas.map(one => one.comando))].sort();
    byId("command").append(new Option(words.todos, ""), ...commands.map(name => new Option(name || "?", name || "?")));
    for (const name of outcomes) {
        const box = element("input");
        box.type = "checkbox";
        box.checked = true;
        box.value = name;
        const label = element("label");
        label.append(box, " " + words[name] + " ");
        label.style.color = colour(name);
        byId("outcomes").append(label);
    }
    byId("search").placeholder = words.procurar;
    byId("filters").addEventListener("input", show);
}

function wanted() {
    const command = byId("command").value;
    const needle = byId("search").value.toLowerCase();
    const open = new Set([...document.querySelectorAll("#outcomes input:checked")].map(box => box.value));
    return timeline.trocas.filter(one =>
        open.has(one.resultado) && (!command || (one.comando || "?") === command) &&
        (!needle || JSON.stringify(one).toLowerCase().includes(needle)));
}

function card(one) {
    const made = element("article");
    made.id = "x" + timeline.trocas.indexOf(one);
    made.style.borderLeftColor = colour(one.resultado);
    const head = element("h2");
    head.append(element("span", one.inicio), element("span", one.comando || "?"));
    head.append(element("span", words.sessao + " " + (one.sessao || "-"), "quiet"));
    if (one.porta) head.append(element("span", one.porta, "quiet"));
    head.append(element("span", one.duracao_ms + " ms", "quiet"));
    const reason = element("p", words[one.resultado] + ": " + one.motivo, "reason");
    reason.style.color = colour(one.resultado);
    made.append(head, reason);
    if (one.providencia) made.append(element("p", words.fazer + ": " + one.providencia, "remedy"));
    for (const step of one.eventos) {
        const row = element("div", undefined, step.ruim ? "step bad" : "step");
        row.append(element("span", "+" + step.ms + " ms", "at"), element("span", step.texto));
        made.append(row);
    }
    const raw = element("details");
    raw.append(element("summary", words.linhas + " (" + one.linhas.length + ")"));
    // Made when it is opened: a day holds megabytes of lines.
    raw.addEventListener("toggle", () => {
        if (raw.open && raw.children.length === 1) raw.append(element("pre", one.linhas.join("\n")));
    });
    made.append(raw);
    return made;
}

function svg(name, attributes, text) {
    const made = document.createElementNS("http://www.w3.org/2000/svg", name);
    for (const [key, value] of Object.entries(attributes)) made.setAttribute(key, value);
    if (text !== undefined) made.textContent = text;
    return made;
}

const two = number => String(number).padStart(2, "0");
const clock = ms => two(Math.floor(ms / 3600000) % 24) + ":" + two(Math.floor(ms / 60000) % 60) + ":" + two(Math.floor(ms / 1000) % 60);

function draw(shown) {
    const drawing = byId("drawing");
    const width = drawing.clientWidth || 1000;
    drawing.replaceChildren();
    drawing.setAttribute("viewBox", "0 0 " + width + " 92");
    if (!shown.length) return;
    const from = Math.min(...shown.map(one => one.inicio_ms));
    const to = Math.max(...shown.map(one => one.inicio_ms + one.duracao_ms), from + 1000);
    const x = ms => 30 + (ms - from) / (to - from) * (width - 60);
    for (let tick = 0; tick <= 6; tick++) {
        const at = from + (to - from) * tick / 6;
        drawing.append(svg("line", {x1: x(at), x2: x(at), y1: 4, y2: 74}));
        drawing.append(svg("text", {x: x(at), y: 88, "text-anchor": "middle"}, clock(at)));
    }
    for (const one of shown) {
        const bar = svg("rect", {
            x: x(one.inicio_ms), y: 6 + 17 * outcomes.indexOf(one.resultado), height: 14, rx: 2, fill: colour(one.resultado),
            width: Math.max(4, x(one.inicio_ms + one.duracao_ms) - x(one.inicio_ms)),
        });
        bar.append(svg("title", {}, one.inicio + " " + one.comando + " " + one.motivo));
        bar.addEventListener("click", () => mark(one));
        drawing.append(bar);
    }
}

function mark(one) {
    document.querySelectorAll(".marked").forEach(other => other.classList.remove("marked"));
    const chosen = byId("x" + timeline.trocas.indexOf(one));
    chosen.classList.add("marked");
    chosen.scrollIntoView({block: "center"});
}

function show() {
    const shown = wanted();
    byId("list").replaceChildren(...shown.map(card));
    byId("count").textContent = shown.length + "/" + timeline.trocas.length + " " + words.trocas;
    draw(shown);
}

byId("title").textContent = words.titulo + ", " + day(timeline.dia);
makeFilters();
show();
window.addEventListener("resize", () => draw(wanted()));
)js";

}  // namespace tool
