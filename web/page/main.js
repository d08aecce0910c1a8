/** Puts the page together. */

import * as api from './api.js';
import { byId, onceAFrame } from './dom.js';
import { makeDrawer } from './draw.js';
import { actionsOf, makeKeys, makePointers } from './hands.js';
import { fillMaps, makePanel, makeSaving, windowText } from './panel.js';
import { makeRegions } from './regions.js';
import { makeColourBar, makeHistogram } from './scale.js';
import { makeStrip } from './strip.js';
import { modalityValue, shown, Viewer } from './view.js';

const kTools = ['window', 'probe', 'select', 'rect', 'ellipse', 'polygon'];
const kNarrow = 900;  // CSS pixels, as in view.css
const kListEvery = 500;  // ms between questions for images that are still being found

const viewer = new Viewer(), stage = byId('stage'), canvas = byId('image');
let drawer = makeDrawer(canvas);
const draw = onceAFrame(() => drawer.draw(viewer.toScreen));

const drawImage = () => {
    const { opened, pixels, table } = viewer;
    if (opened && pixels && Math.max(opened.pixels.width, opened.pixels.height) <= drawer.maxSide) {
        drawer.setPixels(pixels, opened.pixels);
        if (table) drawer.setTable(table, opened.pixels);
    } else {
        drawer.clear();
        if (opened) viewer.fault = `More than ${drawer.maxSide} pixels a side cannot be drawn here.`;
    }
    draw();
};

/** The table that the drawer has. @type {api.Table?} */
let drawn = null;
const drawTable = () => {
    if (viewer.table === drawn || !viewer.table || !viewer.opened) return;
    drawn = viewer.table;
    drawer.setTable(drawn, viewer.opened.pixels);
    draw();
};

const write = onceAFrame(() => {
    const { image, frame, places, opened, pixels, size, hover } = viewer;
    const { window, units, selected, target, zoom } = viewer;
    const at = places.findIndex((place) => place.image === image && place.frame === frame) + 1;
    const place = `${image && image.frames > 1 ? 'Frame' : 'Image'} ${at} of ${places.length}`;
    const { presentationState: state } = opened?.info ?? {};
    const file = image?.name.split('/').pop() ?? '';
    const kind = [image?.modality, image?.seriesText].filter(Boolean).join('  ');
    const stateText = state ? `Presentation state ${state.label ?? ''}` : '';
    byId('name').textContent = [kind, file, stateText].filter(Boolean).join('\n');
    byId('place').textContent = opened ? `${place}\n${size.width} \u00d7 ${size.height}` : '';
    const { preset, auto } = viewer.regions[selected]?.options ?? {};
    const regionText = preset ?? (auto ? 'automatic' : target && windowText(target));
    const ofRegion = selected >= 0 ? `Region ${selected + 1}: ${regionText}\n` : '';
    byId('numbers').textContent = window ? `${ofRegion}C ${shown(window.center)}  W ${shown(window.width)}`
        : opened ? 'In colour, without a window' : '';
    byId('described').textContent = image ? `${image.name}. ${place}.` : 'No image';
    byId('fault').textContent = viewer.fault;
    document.title = file ? `${file} - zev view` : 'zev view';

    const cell = (/** @type {string} */ name, /** @type {string} */ text) => {
        /** @type {HTMLElement} */ (document.querySelector(`#status .${name}`)).textContent = text;
    };
    let stored = '', modality = '';
    if (hover && opened && pixels) {
        const { width, colour } = opened.pixels, index = hover.y * width + hover.x;
        if (colour) {
            stored = `RGB ${pixels.subarray(3 * index, 3 * index + 3).join(' ')}`;
        } else {
            stored = `stored ${shown(pixels[index])}`;
            const value = modalityValue(pixels[index], opened.info);
            modality = value === null ? '' : `${shown(value)} ${units}`;
        }
    }
    cell('at', hover ? `x ${hover.x}  y ${hover.y}` : '');
    cell('stored', stored);
    cell('modality', modality);
    cell('zoom', opened ? `${Math.round(zoom * 100)} %` : '');
});

const press = (/** @type {string} */ name, /** @type {boolean} */ isOn) => {
    document.querySelector(`#tools [data-do="${name}"]`)?.setAttribute('aria-pressed', String(isOn));
};

let playing = 0;
const stop = () => {
    clearInterval(playing);
    playing = 0;
    press('play', false);
};
const play = () => {
    if (playing) return stop();
    if (viewer.places.length < 2) return;
    const rate = Math.max(1, Math.min(60, Number(byId('rate').value) || 15));
    playing = setInterval(() => (viewer.places.length > 1 ? viewer.step(1, true) : stop()), 1000 / rate);
    press('play', true);
};
byId('rate').addEventListener('change', () => { if (playing) { stop(); play(); } });

/**
 * Opens or closes the images or the settings; on a narrow page one of them at a time.
 * @param {string} name
 * @param {boolean} isOpen
 */
const show = (name, isOpen) => {
    document.body.dataset[name] = isOpen ? 'open' : 'closed';
    document.querySelector(`#tools [data-do="${name}"]`)?.setAttribute('aria-expanded', String(isOpen));
    if (isOpen && innerWidth <= kNarrow) show(name === 'strip' ? 'panel' : 'strip', false);
};
const toggle = (/** @type {string} */ name) => () => show(name, document.body.dataset[name] === 'closed');
for (const name of ['strip', 'panel']) show(name, innerWidth > kNarrow);

/** @type {Record<string, () => void>} */
const actions = {
    ...actionsOf(viewer), play, help: () => byId('help').showModal(),
    strip: toggle('strip'), panel: toggle('panel'),
};
for (const tool of kTools) actions[tool] = () => viewer.setTool(tool);
for (const button of document.querySelectorAll('[data-do]'))
    button.addEventListener('click', () => actions[/** @type {HTMLElement} */ (button).dataset.do ?? '']());

const mark = () => {
    for (const tool of kTools) press(tool, tool === viewer.tool);
    press('invert', Boolean(viewer.options.invert));
    canvas.dataset.tool = viewer.tool;
    const isStill = viewer.places.length < 2;
    for (const field of document.querySelectorAll('#cine button, #cine input'))
        /** @type {HTMLInputElement} */ (field).disabled = isStill;
};

/** @type {{uid: string, name: string, colours: number[]}[]} */
const maps = [];
viewer.addEventListener('image', drawImage);
viewer.addEventListener('window', drawTable);
for (const what of ['view', 'size']) viewer.addEventListener(what, draw);
for (const what of ['image', 'window', 'view', 'regions', 'hover', 'size'])
    viewer.addEventListener(what, write);
for (const what of ['image', 'window', 'tool']) viewer.addEventListener(what, mark);
viewer.addEventListener('loading', () => { stage.ariaBusy = 'true'; });
viewer.addEventListener('image', () => {
    stage.ariaBusy = 'false';
    byId('probe').hidden = true;
});
canvas.addEventListener('webglcontextlost', (/** @type {Event} */ event) => event.preventDefault());
canvas.addEventListener('webglcontextrestored', () => {
    drawer = makeDrawer(canvas);
    drawImage();
});
makeStrip(byId('strip'), viewer);
makePanel(viewer);
makeRegions(viewer, maps);
makeColourBar(byId('bar'), viewer);
makeHistogram(viewer);
makeKeys(canvas, viewer, actions, makePointers(canvas, viewer));
mark();

new ResizeObserver(([entry]) => {
    const box = entry.devicePixelContentBoxSize?.[0];
    canvas.width = box?.inlineSize ?? Math.round(stage.clientWidth * devicePixelRatio);
    canvas.height = box?.blockSize ?? Math.round(stage.clientHeight * devicePixelRatio);
    viewer.screen = { width: canvas.width, height: canvas.height };
    drawer.draw(viewer.toScreen);
    viewer.say('size');
}).observe(canvas, { box: 'device-pixel-content-box' });

const fail = (/** @type {Error} */ error) => {
    viewer.fault = error.message;
    write();
};

async function findImages() {
    for (let isDone = false, found = -1; !isDone;) {
        const { done, images, canSave } = await api.list();
        if (images.length !== found) viewer.setImages(images);
        if (canSave && byId('saving').hidden) makeSaving(viewer);
        found = images.length;
        isDone = done;
        if (!done) await new Promise((resolve) => setTimeout(resolve, kListEvery));
    }
    if (!viewer.images.length) fail(new Error('There is no image here.'));
}

findImages().catch(fail);
api.colourMaps().then((found) => {
    maps.push(...found);
    fillMaps(viewer, found);
}, fail);
