// The preview page: sends the dropped files to the server, which converts
// them; renders the MusicXML it returns with verovio, page by page; lists
// the warnings and errors with links to their measures; offers downloads.
"use strict";

const state = { musicxml: "", parts: [], toolkit: null, page: 1, pages: 0, measureIds: null };
const $ = (id) => document.getElementById(id);

function setStatus(text, isError) {
  $("status").textContent = text;
  $("status").className = isError ? "error" : "";
}

// verovio's toolkit, once its WebAssembly runtime is ready; null when the
// toolkit is not installed beside the page.
const toolkitReady = new Promise((resolve) => {
  if (typeof verovio === "undefined") {
    resolve(null);
    return;
  }
  const make = () => resolve(new verovio.toolkit());
  if (verovio.module.calledRun) make();
  else verovio.module.onRuntimeInitialized = make;
});

function describePlace(message) {
  const place = [];
  if (message.file) place.push(message.file);
  if (message.part) place.push("part " + message.part);
  if (message.line) place.push("line " + message.line);
  if (message.measure) place.push("measure " + message.measure);
  return place.join(", ");
}

function showMessages(messages) {
  const list = $("message-list");
  list.textContent = "";
  $("messages").hidden = messages.length === 0;
  for (const message of messages) {
    const item = document.createElement("li");
    item.className = message.level;
    const place = describePlace(message);
    const text = message.level + ": " + message.text + (place ? " (" + place + ")" : "");
    if (message.measure && state.toolkit) {
      const link = document.createElement("a");
      link.href = "#measure-" + encodeURIComponent(message.measure);
      link.textContent = text;
      link.addEventListener("click", (event) => {
        event.preventDefault();
        showMeasure(message.measure);
      });
      item.appendChild(link);
    } else {
      item.textContent = text;
    }
    list.appendChild(item);
  }
}

// verovio's identifiers of the measures, by their number in the score.
function measureIds() {
  if (state.measureIds) return state.measureIds;
  state.measureIds = new Map();
  const mei = new DOMParser().parseFromString(state.toolkit.getMEI({}), "application/xml");
  for (const measure of mei.getElementsByTagName("measure")) {
    const number = measure.getAttribute("n");
    const id = measure.getAttribute("xml:id");
    if (number && id && !state.measureIds.has(number)) state.measureIds.set(number, id);
  }
  return state.measureIds;
}

function showMeasure(number) {
  const id = measureIds().get(String(number));
  if (!id) return;
  const page = state.toolkit.getPageWithElement(id);
  if (page > 0) renderPage(page);
  const element = document.getElementById(id);
  if (element) {
    element.classList.add("found");
    element.scrollIntoView({ block: "center" });
  }
}

function renderPage(page) {
  state.page = Math.min(Math.max(page, 1), state.pages);
  $("score").innerHTML = state.toolkit.renderToSVG(state.page, {});
  $("page-number").textContent = "Page " + state.page + " of " + state.pages;
  $("previous").disabled = state.page <= 1;
  $("next").disabled = state.page >= state.pages;
  $("pages").hidden = false;
}

function partNames(musicxml) {
  const score = new DOMParser().parseFromString(musicxml, "application/xml");
  return Array.from(score.getElementsByTagName("score-part"), (part, index) => {
    const name = part.getElementsByTagName("part-name")[0];
    return (name && name.textContent.trim()) || "Part " + (index + 1);
  });
}

async function render(musicxml) {
  const toolkit = await toolkitReady;
  if (!toolkit) {
    setStatus("Converted; verovio is not installed beside the page, so the score is not drawn.");
    return;
  }
  state.toolkit = toolkit;
  toolkit.setOptions({ pageWidth: 2100, pageHeight: 2970, scale: 40, adjustPageHeight: true });
  if (!toolkit.loadData(musicxml)) throw new Error("verovio could not read the MusicXML");
  state.pages = toolkit.getPageCount();
  state.measureIds = null;
  renderPage(1);
}

function showDownloads(show) {
  $("downloads").hidden = !show;
  const parts = $("download-parts");
  parts.textContent = "";
  if (!show) return;
  state.parts.forEach((name, index) => {
    const button = document.createElement("button");
    button.type = "button";
    button.textContent = "MuseData: " + name;
    button.addEventListener("click", () =>
      download("/api/musedata?part=" + (index + 1), String(index + 1).padStart(2, "0") + ".md"));
    parts.appendChild(button);
  });
}

function save(blob, name) {
  const link = document.createElement("a");
  link.href = URL.createObjectURL(blob);
  link.download = name;
  document.body.appendChild(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(link.href), 1000);
}

// Asks the server to turn the score into another form; an error it answers
// goes into the list of messages.
async function download(url, name) {
  const response = await fetch(url, {
    method: "POST",
    headers: { "Content-Type": "application/xml" },
    body: state.musicxml,
  });
  if (response.ok) {
    const warnings = JSON.parse(response.headers.get("X-Musedata-Warnings") || "[]");
    if (warnings.length) showMessages(warnings);
    save(await response.blob(), name);
    return;
  }
  const answer = await response.json().catch(() => ({ messages: [] }));
  showMessages(answer.messages || []);
  setStatus("The download failed: " + ((answer.messages || [])[0] || {}).text, true);
}

async function convert(files) {
  document.body.dataset.state = "converting";
  setStatus("Converting " + files.map((file) => file.name).join(", ") + " ...");
  showDownloads(false);
  $("score").textContent = "";
  $("pages").hidden = true;
  const form = new FormData();
  for (const file of files) form.append("file", file, file.name);
  try {
    const response = await fetch("/api/convert", { method: "POST", body: form });
    const answer = await response.json();
    if (!answer.ok) {
      showMessages(answer.messages || []);
      const first = (answer.messages || []).find((message) => message.level === "error");
      setStatus("Not converted: " + (first ? first.text : "HTTP " + response.status), true);
      document.body.dataset.state = "error";
      return;
    }
    state.musicxml = answer.musicxml;
    state.parts = partNames(answer.musicxml);
    showDownloads(true);
    setStatus("Converted " + state.parts.length + " part(s).");
    await render(answer.musicxml);
    showMessages(answer.messages);
    document.body.dataset.state = "rendered";
  } catch (error) {
    setStatus("Not converted: " + error.message, true);
    document.body.dataset.state = "error";
  }
}

async function loadSample(name) {
  const list = await (await fetch("samples/samples.json")).json();
  const files = [];
  for (const file of list[name] || []) {
    const bytes = await (await fetch("samples/" + name + "/" + file)).blob();
    files.push(new File([bytes], file));
  }
  await convert(files);
}

function setUp() {
  const drop = $("drop");
  drop.addEventListener("dragover", (event) => {
    event.preventDefault();
    drop.classList.add("over");
  });
  drop.addEventListener("dragleave", () => drop.classList.remove("over"));
  drop.addEventListener("drop", (event) => {
    event.preventDefault();
    drop.classList.remove("over");
    convert(Array.from(event.dataTransfer.files));
  });
  $("chooser").addEventListener("change", (event) => convert(Array.from(event.target.files)));
  $("sample").addEventListener("click", () => loadSample("minuet"));
  $("previous").addEventListener("click", () => renderPage(state.page - 1));
  $("next").addEventListener("click", () => renderPage(state.page + 1));
  $("download-musicxml").addEventListener("click", () =>
    save(new Blob([state.musicxml], { type: "application/xml" }), "score.musicxml"));
  $("download-mxl").addEventListener("click", () => download("/api/mxl", "score.mxl"));
  document.body.dataset.state = "ready";
  // ?sample=minuet converts a bundled sample at once, as the button does.
  const sample = new URLSearchParams(location.search).get("sample");
  if (sample) loadSample(sample);
}

setUp();
