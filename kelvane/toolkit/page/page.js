'use strict';
(() => {
// Linear stops of the ramp: the bare surface, then ever more striking.
const RAMP = [[.78, .80, .83], [.44, .69, .78], [.97, .78, .32], [.89, .36, .20], [.50, .08, .25]];
const MOST_BEND = 45;        // degrees at which the ramp ends; noise bends scans by 5 to 15
const BEND_STEP = .25;       // degrees that one unit of a bend stands for
const TILT = -.65;           // radians between the first view and the marker's normal
const FILL = .96;            // share of the stage that a place takes at first
const PER_PIXEL = .008;      // radians that a drag turns
const vertexShader = `#version 300 es
in vec3 position; in vec3 normal; in float value;
uniform mat3 turn; uniform vec2 scale, nudge; uniform float lift;
out vec3 facing; out float shade;
void main() {
    vec3 p = turn * position;
    float w = 4.0 - p.z;
    facing = turn * normal;
    shade = value;
    gl_Position = vec4(p.xy * scale * 4.0 + nudge * w, (8.0 * w - 25.52) / 3.6 - lift * w, w);
}`;
const fragmentShader = `#version 300 es
precision highp float;
in vec3 facing; in float shade;
uniform vec3 ramp[5]; uniform vec4 flat_colour;
out vec4 colour;
void main() {
    if (flat_colour.a > 0.0) { colour = flat_colour; return; }
    vec3 n = normalize(facing) * (gl_FrontFacing ? 1.0 : -1.0);
    float at = clamp(shade, 0.0, 1.0) * 4.0;
    vec3 base = mix(ramp[int(at)], ramp[min(int(at) + 1, 4)], fract(at));
    float light = .30 + .78 * max(dot(n, normalize(vec3(-.62, .50, .60))), 0.0);
    float shine = pow(max(dot(n, normalize(vec3(-.34, .28, .90))), 0.0), 40.0);
    colour = vec4((gl_FrontFacing ? base : base * .55) * light + .10 * shine, 1.0);
}`;

const find = id => document.getElementById(id);
const blobs = [...document.querySelectorAll('script[type="application/octet-stream"]')];
const canvas = find('canvas');
const gl = canvas.getContext('webgl2', {antialias: true, alpha: false});
if (!gl || !blobs.length) {
    find('without').hidden = !!gl;
    document.querySelectorAll('tr button').forEach(button => { button.disabled = true; });
    document.documentElement.dataset.ready = 'table';
    return;
}

/* One marker's bytes: see MarkerView, whose order this is. */
function decode(text) {
    const bytes = Uint8Array.from(atob(text), c => c.charCodeAt(0));
    const head = new Float32Array(bytes.buffer, 0, 9);
    const [shared, gone, added, sharedFaces, goneFaces, newFaces, border, rimBefore, rimAfter] =
        new Uint32Array(bytes.buffer, 36, 9);
    let at = 72;
    const take = (Type, count) => {
        const part = new Type(bytes.buffer, at, count);
        at += part.byteLength;
        return part;
    };
    const points = shared + gone + added;
    const view = {normal: head.slice(3, 6), farthest: head[8], points, positions: take(Int16Array, 3 * points)};
    const faces = [sharedFaces, goneFaces, newFaces].map(n => take(Uint16Array, 3 * n));
    view.extent = farthestOf(view.positions);
    view.border = take(Uint16Array, 2 * border);
    const rims = [rimBefore, rimAfter].map(n => take(Uint16Array, 2 * n));
    const distances = take(Uint8Array, gone + added);
    const bends = [take(Uint8Array, shared + gone), take(Uint8Array, shared + added)];
    view.sides = [0, 1].map(side => {
        const distance = new Uint8Array(points), bend = new Uint8Array(points);
        distance.set(distances, shared);
        for (let i = 0; i < bends[side].length; ++i) {
            bend[side && i >= shared ? i + gone : i] = Math.min(255, bends[side][i] * BEND_STEP / MOST_BEND * 255);
        }
        const corners = new Uint16Array([...faces[0], ...faces[side + 1]]);
        return {faces: corners, edges: edgesOf(corners), rim: rims[side], distance, bend,
                none: new Uint8Array(points), normals: normalsOf(corners, view.positions)};
    });
    return view;
}

function farthestOf(p) {
    let square = 1;
    for (let i = 0; i < p.length; i += 3) { square = Math.max(square, p[i] ** 2 + p[i + 1] ** 2 + p[i + 2] ** 2); }
    return Math.sqrt(square) / 32767;
}

function edgesOf(faces) {
    const known = new Set();
    for (let i = 0; i < faces.length; ++i) {
        const a = faces[i], b = faces[i % 3 === 2 ? i - 2 : i + 1];
        known.add(Math.min(a, b) * 65536 + Math.max(a, b));
    }
    return Uint16Array.from([...known].flatMap(key => [key / 65536 | 0, key % 65536]));
}

function normalsOf(faces, p) {
    const normals = new Float32Array(p.length);
    for (let i = 0; i < faces.length; i += 3) {
        const [a, b, c] = [3 * faces[i], 3 * faces[i + 1], 3 * faces[i + 2]];
        const u = [0, 1, 2].map(k => (p[b + k] - p[a + k]) / 32767);
        const v = [0, 1, 2].map(k => (p[c + k] - p[a + k]) / 32767);
        for (let k = 0; k < 3; ++k) {
            const n = u[(k + 1) % 3] * v[(k + 2) % 3] - u[(k + 2) % 3] * v[(k + 1) % 3];
            for (const corner of [a, b, c]) { normals[corner + k] += n; }
        }
    }
    return normals;
}

function shader(type, source) {
    const made = gl.createShader(type);
    gl.shaderSource(made, source);
    gl.compileShader(made);
    return made;
}
const program = gl.createProgram();
gl.attachShader(program, shader(gl.VERTEX_SHADER, vertexShader));
gl.attachShader(program, shader(gl.FRAGMENT_SHADER, fragmentShader));
gl.linkProgram(program);
if (!gl.getProgramParameter(program, gl.LINK_STATUS)) { throw new Error(gl.getProgramInfoLog(program)); }
gl.useProgram(program);
const at = name => gl.getUniformLocation(program, name);
const uniforms = {turn: at('turn'), scale: at('scale'), nudge: at('nudge'), lift: at('lift'), flat: at('flat_colour')};
gl.uniform3fv(at('ramp'), RAMP.flat());
gl.enable(gl.DEPTH_TEST);
gl.enable(gl.SCISSOR_TEST);
gl.enable(gl.BLEND);
gl.blendFunc(gl.SRC_ALPHA, gl.ONE_MINUS_SRC_ALPHA);

function upload(target, data) {
    const buffer = gl.createBuffer();
    gl.bindBuffer(target, buffer);
    gl.bufferData(target, data, gl.STATIC_DRAW);
    return buffer;
}

function feed(name, buffer, size, type, normalised) {
    const place = gl.getAttribLocation(program, name);
    if (place < 0) { return; }
    gl.bindBuffer(gl.ARRAY_BUFFER, buffer);
    gl.enableVertexAttribArray(place);
    gl.vertexAttribPointer(place, size, type, normalised, 0, 0);
}

const narrow = matchMedia('(max-width: 44rem)');
const state = {current: 0, colour: 'distance', turn: null, zoom: 1, view: null, buffers: []};

function load(index) {
    const blob = blobs[state.current = index];
    const view = state.view = decode(blob.textContent.trim());
    state.buffers.forEach(buffer => gl.deleteBuffer(buffer));
    state.buffers = [];
    const keep = (target, data) => {
        const buffer = upload(target, data);
        state.buffers.push(buffer);
        return {buffer, count: data.length};
    };
    view.points = keep(gl.ARRAY_BUFFER, view.positions);
    view.borderLines = keep(gl.ELEMENT_ARRAY_BUFFER, view.border);
    for (const side of view.sides) {
        for (const name of ['distance', 'bend', 'none', 'normals']) { side[name] = keep(gl.ARRAY_BUFFER, side[name]); }
        for (const name of ['faces', 'edges', 'rim']) { side[name] = keep(gl.ELEMENT_ARRAY_BUFFER, side[name]); }
    }
    find('name').textContent = 'Marker ' + blob.dataset.marker;
    find('words').textContent = blob.dataset.words;
    find('previous').disabled = index === 0;
    find('next').disabled = index === blobs.length - 1;
    document.querySelectorAll('tr.seen').forEach(row => {
        row.classList.toggle('shown', +row.dataset.view === index);
    });
    aim();
    legend();
}

/* The camera that looks along the marker's normal, a little from below. */
function aim() {
    const z = [...state.view.normal];
    const up = Math.abs(z[2]) < .9 ? [0, 0, 1] : [0, 1, 0];
    const cross = (a, b) => [0, 1, 2].map(k => a[(k + 1) % 3] * b[(k + 2) % 3] - a[(k + 2) % 3] * b[(k + 1) % 3]);
    const x = cross(up, z), length = Math.hypot(...x);
    const right = x.map(value => value / length);
    state.turn = [right, cross(z, right), z];
    state.zoom = 1;
    turn(0, TILT);
}

/* Turns what is seen about the screen's vertical and horizontal axes. */
function turn(about_y, about_x) {
    const [x, y, z] = state.turn;
    const mix = (a, p, b, q) => a.map((value, k) => value * p + b[k] * q);
    const x2 = mix(x, Math.cos(about_y), z, Math.sin(about_y));
    const z2 = mix(z, Math.cos(about_y), x, -Math.sin(about_y));
    state.turn = [x2, mix(y, Math.cos(about_x), z2, -Math.sin(about_x)), mix(z2, Math.cos(about_x), y, Math.sin(about_x))];
    redraw();
}

const digits = value => String(+value.toPrecision(2));
function legend() {
    const texts = {distance: ['0', 'distance between both surfaces', digits(state.view.farthest)],
                   bend: ['0°', 'bend at the edges', MOST_BEND + '° and more'], none: ['', 'no colour', '']};
    ['least', 'quantity', 'most'].forEach((id, k) => { find(id).textContent = texts[state.colour][k]; });
    const css = RAMP.map(stop => `rgb(${stop.map(value => value * 255 | 0)})`);
    find('ramp').style.background = state.colour === 'none' ? css[0] : `linear-gradient(90deg, ${css})`;
}

let waiting = false;
function redraw() {
    if (!waiting) {
        waiting = true;
        requestAnimationFrame(() => { waiting = false; draw(); });
    }
}

const themed = name => {
    const hex = getComputedStyle(document.documentElement).getPropertyValue(name).trim();
    return [1, 3, 5].map(i => parseInt(hex.slice(i, i + 2), 16) / 255);
};

function lines(list, colour, lift, thickness, size) {
    gl.bindBuffer(gl.ELEMENT_ARRAY_BUFFER, list.buffer);
    gl.uniform4fv(uniforms.flat, colour);
    gl.uniform1f(uniforms.lift, lift);
    // WebGL draws lines one pixel wide: thicker ones are several, side by side.
    for (let i = -thickness; i <= thickness; ++i) {
        for (let j = -thickness; j <= thickness; ++j) {
            gl.uniform2f(uniforms.nudge, 1.3 * i / size[0], 1.3 * j / size[1]);
            gl.drawElements(gl.LINES, list.count, gl.UNSIGNED_SHORT, 0);
        }
    }
    gl.uniform2f(uniforms.nudge, 0, 0);
    gl.uniform1f(uniforms.lift, 0);
}

function drawSide(side, size) {
    gl.uniform4f(uniforms.flat, 0, 0, 0, 0);
    feed('position', state.view.points.buffer, 3, gl.SHORT, true);
    feed('normal', side.normals.buffer, 3, gl.FLOAT, false);
    feed('value', side[state.colour].buffer, 1, gl.UNSIGNED_BYTE, true);
    gl.bindBuffer(gl.ELEMENT_ARRAY_BUFFER, side.faces.buffer);
    gl.drawElements(gl.TRIANGLES, side.faces.count, gl.UNSIGNED_SHORT, 0);
    if (find('edges').checked) { lines(side.edges, [.05, .08, .14, .22], .001, 0, size); }
    lines(state.view.borderLines, [...themed('--border'), 1], .003, 1, size);
    lines(side.rim, [...themed('--rim'), 1], .003, 1, size);
}

function draw() {
    const ratio = Math.min(devicePixelRatio, 2);
    const width = canvas.width = Math.round(canvas.clientWidth * ratio);
    const height = canvas.height = Math.round(canvas.clientHeight * ratio);
    const size = narrow.matches ? [width, height / 2 | 0] : [width / 2 | 0, height];
    const fill = FILL * state.zoom * Math.min(...size) / state.view.extent;
    gl.uniformMatrix3fv(uniforms.turn, true, state.turn.flat());
    gl.uniform2f(uniforms.scale, fill / size[0], fill / size[1]);
    gl.scissor(0, 0, width, height);
    gl.clearColor(...themed('--line'), 1);
    gl.clear(gl.COLOR_BUFFER_BIT);
    state.view.sides.forEach((side, k) => {
        const corner = narrow.matches ? [0, k ? 0 : height - size[1]] : [k * size[0], 0];
        gl.viewport(...corner, ...size);
        gl.scissor(...corner, size[0] - (narrow.matches || k ? 0 : ratio), size[1] - (narrow.matches && k ? ratio : 0));
        gl.clearColor(...themed('--stage'), 1);
        gl.clear(gl.COLOR_BUFFER_BIT | gl.DEPTH_BUFFER_BIT);
        drawSide(side, size);
    });
    document.documentElement.dataset.ready = 'views';
}

const pointers = new Map();
const spread = () => {
    const [a, b] = [...pointers.values()];
    return Math.hypot(a[0] - b[0], a[1] - b[1]);
};
const zoom = factor => {
    state.zoom = Math.min(12, Math.max(.4, state.zoom * factor));
    redraw();
};
canvas.addEventListener('pointerdown', event => {
    canvas.setPointerCapture(event.pointerId);
    find('hint').hidden = true;
    pointers.set(event.pointerId, [event.clientX, event.clientY]);
});
canvas.addEventListener('pointermove', event => {
    const last = pointers.get(event.pointerId);
    if (!last) { return; }
    const before = pointers.size === 2 ? spread() : 0;
    pointers.set(event.pointerId, [event.clientX, event.clientY]);
    if (pointers.size === 1) {
        turn((event.clientX - last[0]) * PER_PIXEL, (event.clientY - last[1]) * PER_PIXEL);
    } else if (before > 0) {
        zoom(spread() / before);
    }
});
for (const end of ['pointerup', 'pointercancel']) {
    canvas.addEventListener(end, event => pointers.delete(event.pointerId));
}
canvas.addEventListener('wheel', event => {
    event.preventDefault();
    zoom(Math.exp(-event.deltaY * .0015));
}, {passive: false});
canvas.addEventListener('dblclick', aim);

const step = by => load(Math.min(blobs.length - 1, Math.max(0, state.current + by)));
find('previous').addEventListener('click', () => step(-1));
find('next').addEventListener('click', () => step(1));
addEventListener('keydown', event => {
    if (event.key === 'ArrowLeft' || event.key === 'ArrowRight') { step(event.key === 'ArrowLeft' ? -1 : 1); }
});
find('reset').addEventListener('click', aim);
find('edges').addEventListener('change', redraw);
document.querySelectorAll('[data-colour]').forEach((button, _, all) => button.addEventListener('click', () => {
    state.colour = button.dataset.colour;
    all.forEach(other => other.setAttribute('aria-pressed', other === button));
    legend();
    redraw();
}));
document.querySelectorAll('tr.seen').forEach(row => row.addEventListener('click', () => {
    load(+row.dataset.view);
    find('viewer').scrollIntoView({block: 'nearest', behavior: 'smooth'});
}));
canvas.addEventListener('webglcontextlost', event => {
    event.preventDefault();
    find('viewer').hidden = true;
});
canvas.addEventListener('webglcontextrestored', () => location.reload());
matchMedia('(prefers-color-scheme: dark)').addEventListener('change', redraw);
new ResizeObserver(redraw).observe(canvas);
find('viewer').hidden = false;
load(0);
})();
