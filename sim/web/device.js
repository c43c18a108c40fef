// The device page: one configuration file, decoded, and the whole journal.
"use strict";

let shownFile = "";
let lastLines = new Map();

function flatten(value, prefix, out) {
  if (value !== null && typeof value === "object") {
    for (const [name, inner] of Object.entries(value)) flatten(inner, prefix ? prefix + "." + name : name, out);
  } else {
    out.push([prefix, JSON.stringify(value)]);
  }
  return out;
}

async function showFile() {
  const name = document.getElementById("file-pick").value;
  const view = document.getElementById("file-view");
  if (!name) return;
  let lines;
  if (name.endsWith(".bin")) {
    const dump = await fetchJson("/cgi-bin/simstate.py?what=dump&file=" + encodeURIComponent(name));
    lines = flatten(dump.fields, "", []).filter(([path]) => !/(^|\.)(Pad|Rsv|Fixed)\d/.test(path))
      .map(([path, value]) => path + " = " + value);
    lines.unshift(dump.type + ", " + dump.size + " bytes");
  } else {
    lines = (await fetchText("/cgi-bin/simstate.py?what=text&file=" + encodeURIComponent(name))).trimEnd().split("\n");
  }
  const previous = name === shownFile ? lastLines : null;
  view.textContent = "";
  const seen = new Map();
  for (const line of lines) {
    const key = line.split(" = ")[0];
    const span = element("span", {}, line + "\n");
    if (previous && previous.has(key) && previous.get(key) !== line) span.className = "changed";
    view.append(span);
    seen.set(key, line);
  }
  shownFile = name;
  lastLines = seen;
}

async function showJournal() {
  const text = await fetchText("/cgi-bin/simstate.py?what=journal");
  const view = document.getElementById("journal-view");
  const atEnd = view.scrollTop + view.clientHeight >= view.scrollHeight - 4;
  view.textContent = text || "(empty)";
  if (atEnd) view.scrollTop = view.scrollHeight;
}

async function showMarks() {
  const marks = await fetchJson("/cgi-bin/simstate.py?what=marks");
  document.getElementById("marks-view").textContent = Object.entries(marks)
    .map(([file, text]) => file + ": " + (text === null ? "(none)" : JSON.stringify(text))).join("\n");
}

async function refresh() {
  await Promise.all([showFile(), showMarks(), showJournal()]).catch((error) => console.warn(error));
}

document.addEventListener("DOMContentLoaded", async () => {
  const pick = document.getElementById("file-pick");
  const files = await fetchJson("/cgi-bin/simstate.py?what=files");
  for (const name of [...files.binary.filter((n) => !n.endsWith("Model.bin")), ...files.text]) {
    pick.append(element("option", { value: name }, name));
  }
  const wanted = new URLSearchParams(location.search).get("file") ||
    "NxModId" + currentIds().module + "/MailConf.bin";
  if ([...pick.options].some((o) => o.value === wanted)) pick.value = wanted;
  pick.addEventListener("change", refresh);
  await refresh();
  setInterval(() => { if (document.getElementById("auto").checked) refresh(); }, 2000);
});
