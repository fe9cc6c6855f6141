// The moving parts as small drawings.

const make = (name, attributes, text) => {
  const element = document.createElementNS("http://www.w3.org/2000/svg", name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  if (text !== undefined) element.textContent = text;
  return element;
};

// A point so far from the middle: 0 degrees is up, clockwise.
const polar = (degrees, radius) => {
  const angle = (degrees - 90) * Math.PI / 180;
  return [Math.cos(angle) * radius, Math.sin(angle) * radius];
};

// The arc of a field of view, at least as wide as can be seen.
const wedge = (middle, width, radius, moving) => {
  const half = Math.max(width, 2) / 2;
  const [x1, y1] = polar(middle - half, radius);
  const [x2, y2] = polar(middle + half, radius);
  return make("path", {class: moving ? "view moving" : "view", d: `M0 0L${x1} ${y1}A${radius} ${radius} 0 0 1 ${x2} ${y2}Z`});
};

const ticks = (from, to, step, turn, each) => {
  const found = [];
  for (let degrees = from; degrees <= to; degrees += step) {
    const [x1, y1] = polar(turn(degrees), 80);
    const [x2, y2] = polar(turn(degrees), degrees % each ? 84 : 88);
    found.push(make("line", {class: "tick", x1, y1, x2, y2}));
    if (degrees % each === 0) {
      const [x, y] = polar(turn(degrees), 95);
      found.push(make("text", {x, y: y + 3, "text-anchor": "middle"}, degrees));
    }
  }
  return found;
};

// From above: ahead is up, the mechanical ends are at 170 degrees.
export function drawTop(svg, {pan, hfov, moving}) {
  const [x1, y1] = polar(-170, 80);
  const [x2, y2] = polar(170, 80);
  svg.setAttribute("aria-label", `From above: ${pan} degrees of pan, a view of ${hfov} degrees${moving[0] ? ", moving" : ""}`);
  svg.replaceChildren(
    make("path", {class: "ring", d: `M${x1} ${y1}A80 80 0 1 1 ${x2} ${y2}`}),
    ...ticks(-170, 170, 10, degrees => degrees, 90), wedge(pan, hfov, 78, moving[0]),
    make("circle", {class: "body", r: 13}));
}

// From the side: ahead is to the right.
export function drawSide(svg, {tilt, vfov, moving}) {
  const turn = degrees => 90 - degrees;
  const [x1, y1] = polar(turn(90), 80);
  const [x2, y2] = polar(turn(-20), 80);
  svg.setAttribute("aria-label", `From the side: ${tilt} degrees of tilt, a view of ${vfov} degrees${moving[1] ? ", moving" : ""}`);
  const head = make("g", {transform: `rotate(${-tilt})`});
  head.append(make("rect", {class: "body", x: -14, y: -9, width: 34, height: 18, rx: 4}));
  svg.replaceChildren(
    make("path", {class: "ring", d: `M${x1} ${y1}A80 80 0 0 1 ${x2} ${y2}`}),
    ...ticks(-20, 90, 10, turn, 30), wedge(turn(tilt), vfov, 78, moving[1]),
    make("path", {class: "body", d: "M-7 8L-14 46H14L7 8Z"}), head);
}

// A scale with a needle; marks are [where from 0 to 1, words].
function drawScale(svg, name, at, value, marks, moving) {
  const x = share => 16 + 288 * Math.min(Math.max(share, 0), 1);
  svg.setAttribute("aria-label", `${name}: ${value}${moving ? ", moving" : ""}`);
  svg.replaceChildren(
    make("text", {x: 4, y: 11}, name),
    make("text", {class: "value", x: 316, y: 11, "text-anchor": "end"}, value),
    make("line", {class: "ring", x1: 16, y1: 24, x2: 304, y2: 24}),
    ...marks.flatMap(([share, words]) => [
      make("line", {class: "tick", x1: x(share), y1: 20, x2: x(share), y2: 28}),
      make("text", {x: x(share), y: 42, "text-anchor": "middle"}, words)]),
    make("path", {class: moving ? "needle moving" : "needle", d: `M${x(at)} 26l-5 -10h10z`}));
}

// Optical up to 30, digital beyond; each doubling is as long.
export function drawZoom(svg, {zoom, hfov, moving}) {
  const share = value => Math.log2(value) / Math.log2(360);
  const marks = [1, 2, 5, 10, 30, 100, 360].map(value => [share(value), `${value}×`]);
  drawScale(svg, "Zoom", share(zoom), `${zoom}×, view ${hfov}° wide`, marks, moving[2]);
}

export function drawFocus(svg, {focus, moving}) {
  const share = value => (value - 1144) / (2048 - 1144);
  const marks = [[0, "far"], [share(1400), "scene"], [share(1700), "1700"], [1, "near"]];
  drawScale(svg, "Focus", share(focus), `${focus} steps`, marks, moving[3]);
}
