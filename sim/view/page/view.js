// Shows the pictures as they come, and the state beside them.
import {drawFocus, drawSide, drawTop, drawZoom} from "/parts.js";

const at = id => document.getElementById(id);
const waiting = ms => new Promise(done => setTimeout(done, ms));
let paused = false;

// Pictures: one is asked for when the one before is there, so that a slow line gets fewer of them.
let arrivals = [];
async function showPictures() {
  let number = 0;
  let shown = null;
  for (;;) {
    try {
      const answer = await fetch(`/picture?after=${number}`);
      if (!answer.ok) throw new Error(answer.statusText);
      number = answer.headers.get("X-Picture");
      if (answer.status !== 200) continue;
      const blob = await answer.blob();
      if (paused) continue;
      const url = URL.createObjectURL(blob);
      at("picture").src = url;
      at("picture").dataset.number = number;
      await at("picture").decode().catch(() => {});
      if (shown) URL.revokeObjectURL(shown);
      shown = url;
      arrivals.push(performance.now());
    } catch {
      await waiting(1000); // the simulator has gone, or is being started anew
    }
  }
}

const lamp = (element, words, kind) => {
  element.textContent = words;
  element.className = kind;
};
const list = (element, items, make) => element.replaceChildren(...items.map(make));
const entry = (words, kind) => {
  const item = document.createElement("li");
  lamp(item, words, kind);
  return item;
};
const terms = (element, pairs) => element.replaceChildren(...pairs.flatMap(([term, value]) => {
  const [dt, dd] = [document.createElement("dt"), document.createElement("dd")];
  dt.textContent = term;
  dd.textContent = value;
  return [dt, dd];
}));
// Sliders follow the camera unless a hand is on them.
const follow = (id, value, unit) => {
  at(`${id}-value`).textContent = `${value} ${unit}`;
  if (document.activeElement !== at(id)) at(id).value = value;
};

let words = "";
let recordsShown = "";
function show(state) {
  lamp(at("state"), state.state, state.state === "running" ? "on" : "bad");
  lamp(at("link"), state.talking ? "host talks" : "host silent", state.talking ? "on" : "bad");
  at("pan").textContent = `${state.pan.toFixed(2)}°`;
  at("tilt").textContent = `${state.tilt.toFixed(2)}°`;
  drawTop(at("top"), state);
  drawSide(at("side"), state);
  drawZoom(at("zoom-scale"), state);
  drawFocus(at("focus-scale"), state);
  terms(at("exposure"), [["iris", state.iris], ["shutter", state.shutter], ["gain", state.gain],
    ["scene light", `${state.light} stops`], ["temperature", `${state.temperature} °C`], ["offences", state.offences]]);
  terms(at("settings"), Object.entries(state.settings));
  list(at("lines"), Object.entries(state.lines), ([name, high]) => entry(name, high ? "on" : ""));
  list(at("faults"), state.faults.length ? state.faults : ["none"], name => entry(name, name === "none" ? "" : "bad"));
  const records = JSON.stringify(state.records);
  if (records !== recordsShown) {
    recordsShown = records;
    list(at("records"), state.records.toReversed(), ([time, text]) => {
      const [item, when] = [document.createElement("li"), document.createElement("time")];
      when.textContent = time;
      item.append(when, text);
      return item;
    });
  }
  at("controls").hidden = !state.controls;
  follow("light", state.light, "stops");
  follow("temperature", state.temperature, "°C");
  describe(state.words);
}

// In words: at once where they are read, and said when they have stayed the same for a moment.
let settled;
function describe(newWords) {
  if (newWords === words) return;
  words = newWords;
  at("picture").alt = at("caption").textContent = words;
  clearTimeout(settled);
  settled = setTimeout(say, 1200);
}
function say() {
  at("announce").textContent = words;
}

function listen() {
  const events = new EventSource("/events");
  events.onmessage = event => show(JSON.parse(event.data));
  events.onerror = () => {
    lamp(at("link"), "simulator gone", "bad");
    describe("The simulator does not answer.");
  };
}

function countRate() {
  const since = performance.now() - 2000;
  arrivals = arrivals.filter(time => time > since);
  lamp(at("rate"), arrivals.length ? `${Math.round(arrivals.length / 2)} pictures/s` : "picture stands", arrivals.length ? "on" : "");
}

// The keyboard: single letters, as the buttons say; not while something is typed.
const toggle = (id, change) => {
  const pressed = at(id).getAttribute("aria-pressed") !== "true";
  at(id).setAttribute("aria-pressed", pressed);
  change(pressed);
};
const actions = {
  p: () => toggle("pause", pressed => { paused = pressed; }),
  f: () => toggle("large", pressed => document.body.classList.toggle("large", pressed)),
  s: () => { at("announce").textContent = ""; setTimeout(say, 50); },
};
for (const [key, id] of [["p", "pause"], ["f", "large"], ["s", "say"]]) at(id).onclick = actions[key];
document.addEventListener("keydown", event => {
  if (event.ctrlKey || event.altKey || event.metaKey || event.target.matches("input:not([type=range])")) return;
  if (event.key === "Escape" && document.body.classList.contains("large")) actions.f();
  else actions[event.key.toLowerCase()]?.();
});

// Controls, where krx-sim allows them.
async function send(line) {
  const answer = await fetch("/command", {method: "POST", body: line}).catch(() => null);
  at("answer").textContent = `${line}: ${answer ? (await answer.text()).trim() : "the simulator does not answer"}`;
}
for (const id of ["light", "temperature"])
  at(id).oninput = event => send(`set ${id === "light" ? "scene-light" : id} ${event.target.value}`);
const faults = [["Silence, 3 s", "fault silence for 3s"], ["Power loss, 1 s", "fault power-loss for 1s"],
  ["Reboot", "fault reboot"], ["Stalled pan, 3 s", "fault stall pan for 3s"],
  ["Bad sums, 5 s", "fault bad-checksum 1/20 for 5s"], ["Clear faults", "clear faults"]];
at("fault-buttons").replaceChildren(...faults.map(([name, line]) => {
  const button = document.createElement("button");
  button.type = "button";
  button.textContent = name;
  button.onclick = () => send(line);
  return button;
}));
at("command").onsubmit = event => {
  event.preventDefault();
  send(event.target.line.value);
};

setInterval(countRate, 500);
listen();
showPictures();
