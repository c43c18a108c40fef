// The simulator's pages: every form posts to a real CGI name of the device.
// A form lists its handler's fields in data-fields; this script builds the
// inputs, adds the module and port ids of the picker, RetPage back to the
// page and the epilogue's SaveCfg and NxMkChg switches, and fills the inputs
// from the current configuration. An answer of the device is this page
// again, preceded by a script block that sets NXMODID and PORTID. Forms with
// data-answer="text" are sent by fetch and show the answer below them.
//
// data-fields tokens:  Name   Name=default   Name~ (multi-line)   Name@KEY
// (the key of the form's text file)   Name! (never filled from the file)
"use strict";

const PAGES = [
  ["/index.html", "Overview"],
  ["/mail.html", "Mail"],
  ["/ftp.html", "FTP upload"],
  ["/services.html", "Event services"],
  ["/condition.html", "Conditions"],
  ["/buffers.html", "Buffers and links"],
  ["/ptz.html", "PTZ"],
  ["/sensor.html", "Sensors"],
  ["/serial.html", "Serial"],
  ["/camera.html", "Camera lines"],
  ["/product.html", "Product code"],
  ["/maint.html", "Maintenance"],
  ["/device.html", "Device state"],
];

const answered = typeof NXMODID !== "undefined" || typeof PORTID !== "undefined";

function pagePath() {
  return document.body.dataset.page;
}

function selectedIds() {
  const stored = (name, fallback) => {
    const value = Number(localStorage.getItem("sim." + name));
    return Number.isInteger(value) && value >= 0 && value <= 3 ? value : fallback;
  };
  let module = stored("module", 0);
  let port = stored("port", 0);
  // An answer of the device carries the ids of the request: keep them.
  if (typeof NXMODID === "number" && NXMODID >= 0 && NXMODID <= 3) module = NXMODID;
  if (typeof PORTID === "number" && PORTID >= 0 && PORTID <= 3) port = PORTID;
  localStorage.setItem("sim.module", String(module));
  localStorage.setItem("sim.port", String(port));
  return { module, port };
}

function element(tag, attributes, ...children) {
  const node = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes || {})) node.setAttribute(name, value);
  for (const child of children) node.append(child);
  return node;
}

function buildHeader(ids) {
  const nav = element("nav", { id: "nav" });
  for (const [path, title] of PAGES) {
    const link = element("a", { href: path }, title);
    if (path === pagePath()) link.className = "current";
    nav.append(link);
  }
  const picker = element("div", { id: "picker" });
  for (const [name, label] of [["module", "Module (NxModId)"], ["port", "Port (PortId)"]]) {
    const select = element("select", { id: "pick-" + name, name: "pick-" + name });
    for (let i = 0; i < 4; ++i) select.append(element("option", { value: String(i) }, String(i)));
    select.value = String(ids[name]);
    select.addEventListener("change", () => {
      localStorage.setItem("sim." + name, select.value);
      applyIds();
      prefillAll();
    });
    picker.append(element("label", {}, label + " ", select));
  }
  const answer = element("div", { id: "answer" });
  if (answered) {
    answer.className = "answered";
    answer.textContent = "Answer of the device: NXMODID = " +
      (typeof NXMODID === "undefined" ? "(none)" : NXMODID) + ", PORTID = " +
      (typeof PORTID === "undefined" ? "(none)" : PORTID);
  } else {
    answer.textContent = "Page opened directly (no answer yet)";
  }
  document.body.prepend(nav, picker, answer);
}

function currentIds() {
  return {
    module: document.getElementById("pick-module").value,
    port: document.getElementById("pick-port").value,
  };
}

function applyIds() {
  const ids = currentIds();
  for (const input of document.querySelectorAll("input.sim-id-module")) input.value = ids.module;
  for (const input of document.querySelectorAll("input.sim-id-port")) input.value = ids.port;
  for (const span of document.querySelectorAll(".sim-show-module")) span.textContent = ids.module;
  for (const span of document.querySelectorAll(".sim-show-port")) span.textContent = ids.port;
}

function parseToken(token) {
  const field = { name: token, value: "", key: "", multiline: false, prefill: true };
  let match = token.match(/^([^=@~!]+)(~)?(!)?(?:@([^=]+))?(?:=(.*))?$/);
  if (!match) return field;
  field.name = match[1];
  field.multiline = Boolean(match[2]);
  field.prefill = !match[3];
  field.key = match[4] || "";
  field.value = match[5] || "";
  return field;
}

function buildForm(form) {
  form.method = "post";
  const fields = (form.dataset.fields || "").split(/\s+/).filter(Boolean).map(parseToken);
  const box = element("div", { class: "fields" });
  for (const field of fields) {
    const input = field.multiline
      ? element("textarea", { name: field.name, rows: "3" })
      : element("input", { name: field.name, type: "text" });
    input.value = field.value;
    if (field.key) input.dataset.key = field.key;
    if (!field.prefill) input.dataset.noprefill = "1";
    box.append(element("label", {}, element("span", {}, field.name), input));
  }
  form.append(box);
  const hidden = (name, value, cls) => {
    const input = element("input", { type: "hidden", name, value });
    if (cls) input.className = cls;
    form.append(input);
  };
  if (!fields.some((f) => f.name === "NxModId")) hidden("NxModId", "0", "sim-id-module");
  if (!fields.some((f) => f.name === "PortId")) hidden("PortId", "0", "sim-id-port");
  const controls = element("div", { class: "controls" });
  if (form.dataset.answer !== "text") {
    hidden("RetPage", pagePath());
    const save = element("input", { type: "checkbox", name: "SaveCfg", value: "YES", checked: "" });
    controls.append(element("label", {}, save, " SaveCfg=YES"));
    const mark = element("input", { type: "checkbox", name: "NxMkChg", value: "YES" });
    controls.append(element("label", {}, mark, " NxMkChg=YES"));
  }
  const cgi = form.getAttribute("action").replace("/cgi-bin/", "");
  controls.append(element("button", { type: "submit" }, "Send to " + cgi));
  form.append(controls);
  if (form.dataset.answer === "text") {
    const out = element("pre", { class: "cgi-answer", id: cgi.replace(".cgi", "") + "-answer" });
    form.append(out);
    form.addEventListener("submit", (event) => {
      event.preventDefault();
      out.textContent = "...";
      // The device reads a form only under exactly this content type (no charset).
      fetch(form.action, {
        method: "POST",
        headers: { "Content-Type": "application/x-www-form-urlencoded" },
        body: new URLSearchParams(new FormData(form)).toString(),
      })
        .then((reply) => reply.text().then((text) => {
          out.textContent = "HTTP " + reply.status + "\n" + (text || "(empty answer)");
          refreshJournal();
        }))
        .catch((error) => { out.textContent = String(error); });
    });
  }
}

async function fetchJson(url) {
  const reply = await fetch(url, { cache: "no-store" });
  if (!reply.ok) throw new Error(url + ": " + reply.status);
  return reply.json();
}

async function fetchText(url) {
  const reply = await fetch(url, { cache: "no-store" });
  if (!reply.ok) throw new Error(url + ": " + reply.status);
  return reply.text();
}

function parseKeyValues(text) {
  const values = {};
  for (const line of text.split("\n")) {
    const match = line.match(/^\s*([A-Za-z0-9_]+)\s*=\s*(.*)$/);
    if (match && !(match[1] in values)) values[match[1]] = match[2].replace(/^"(.*)"$/, "$1");
  }
  return values;
}

function fillInputs(form, lookup) {
  for (const input of form.querySelectorAll("input[type=text], textarea")) {
    if (input.dataset.noprefill) continue;
    const value = lookup(input);
    if (value !== undefined && value !== null && typeof value !== "object") input.value = String(value);
  }
}

async function prefill(form) {
  const ids = currentIds();
  if (form.dataset.file) {
    const scope = form.dataset.scope || "root";
    const file = scope === "root" ? form.dataset.file : "NxModId" + ids.module + "/" + form.dataset.file;
    const dump = await fetchJson("/cgi-bin/simstate.py?what=dump&file=" + encodeURIComponent(file));
    const record = scope === "port" ? dump.fields["Port" + ids.port] || {} : dump.fields;
    fillInputs(form, (input) => record[input.name]);
  }
  for (const part of [form, ...form.querySelectorAll("[data-text]")]) {
    if (!part.dataset.text) continue;
    const values = parseKeyValues(await fetchText("/cgi-bin/simstate.py?what=text&file=" + part.dataset.text));
    fillInputs(part, (input) => (input.dataset.key ? values[input.dataset.key] : undefined));
  }
}

async function prefillAll() {
  document.body.dataset.ready = "0";
  const forms = [...document.querySelectorAll("form[data-fields]")];
  await Promise.all(forms.map((form) => prefill(form).catch((error) => console.warn(error))));
  document.body.dataset.ready = "1";
}

async function refreshJournal() {
  const box = document.getElementById("journal-tail");
  if (!box) return;
  try {
    const lines = (await fetchText("/cgi-bin/simstate.py?what=journal")).trimEnd().split("\n");
    box.textContent = lines.slice(-10).join("\n") || "(empty)";
  } catch (error) {
    box.textContent = String(error);
  }
}

function buildJournalTail() {
  if (document.body.dataset.journal === "none") return;
  const section = element("section", { class: "journal" },
    element("h2", {}, "Device journal (last lines; the full one is on ",
      element("a", { href: "/device.html" }, "Device state"), ")"),
    element("pre", { id: "journal-tail" }, "..."));
  document.body.append(section);
  refreshJournal();
}

document.addEventListener("DOMContentLoaded", () => {
  buildHeader(selectedIds());
  for (const form of document.querySelectorAll("form[data-fields]")) buildForm(form);
  applyIds();
  buildJournalTail();
  prefillAll();
});
