/** Puts the page together. */

import * as api from './api.js';
import { byId, onceAFrame } from './dom.js';
import { actionsOf, makeKeys } from './hands.js';
import { fillMaps, makePanel, makeSaving } from './panel.js';
import { Panes } from './panes.js';
import { makeRegions } from './regions.js';
import { makeHistogram } from './scale.js';
import { makeStrip } from './strip.js';
import { shown, valueOf } from './view.js';

const kTools = ['window', 'probe', 'select', 'rect', 'ellipse', 'polygon'];
const kCounts = [1, 2, 4];
const kNarrow = 900;  // CSS pixels, as in view.css
const kListEvery = 500;  // ms between questions for images that are still being found

const panes = new Panes(byId('stage')), viewer = panes.current;

const write = onceAFrame(() => {
    const { image, opened, pixels, hover, zoom } = viewer, file = image?.name.split('/').pop();
    document.title = file ? `${file} - zev view` : 'zev view';
    const cell = (/** @type {string} */ name, /** @type {string} */ text) => {
        /** @type {HTMLElement} */ (document.querySelector(`#status .${name}`)).textContent = text;
    };
    let stored = '', modality = '', others = '';
    if (hover && opened && pixels) {
        const { width, colour } = opened.pixels, index = hover.y * width + hover.x, pixel = pixels[index];
        const { list, stored: isStored } = opened.values ?? { list: [], stored: true };
        stored = colour ? `RGB ${pixels.subarray(3 * index, 3 * index + 3).join(' ')}`
            : `${isStored ? 'stored' : 'pixel'} ${shown(pixel)}`;
        const texts = list.map((value, i) => {
            const number = valueOf(value, pixel), name = i ? value.name : '';
            const units = name.startsWith(value.units) ? '' : value.units;
            return number === null ? '' : [shown(number), units, name].filter(Boolean).join(' ');
        });
        modality = texts[0] ?? '';
        others = texts.slice(1).filter(Boolean).join('    ');
    }
    cell('at', hover ? `x ${hover.x}  y ${hover.y}` : '');
    cell('stored', stored);
    cell('modality', modality);
    cell('others', others);
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
 * Opens or closes the images, the settings or the further tools; on a narrow page one of them at a time.
 * @param {string} name
 * @param {boolean} isOpen
 */
const show = (name, isOpen) => {
    document.body.dataset[name] = isOpen ? 'open' : 'closed';
    document.querySelector(`#tools [data-do="${name}"]`)?.setAttribute('aria-expanded', String(isOpen));
    if (isOpen && innerWidth <= kNarrow)
        for (const other of ['strip', 'panel', 'more']) if (other !== name) show(other, false);
};
const toggle = (/** @type {string} */ name) => () => show(name, document.body.dataset[name] === 'closed');
for (const name of ['strip', 'panel']) show(name, innerWidth > kNarrow);
show('more', false);

/** @type {Record<string, () => void>} */
const actions = {
    ...actionsOf(viewer), play, help: () => byId('help').showModal(),
    strip: toggle('strip'), panel: toggle('panel'), more: toggle('more'),
    link: () => panes.setLinked(!panes.isLinked),
    panes: () => panes.setCount(kCounts[(kCounts.indexOf(panes.count) + 1) % kCounts.length]),
};
for (const tool of kTools) actions[tool] = () => viewer.setTool(tool);
for (const count of kCounts) actions[`panes-${count}`] = () => panes.setCount(count);
for (const button of document.querySelectorAll('[data-do]'))
    button.addEventListener('click', () => actions[/** @type {HTMLElement} */ (button).dataset.do ?? '']());

const mark = () => {
    for (const tool of kTools) press(tool, tool === viewer.tool);
    for (const count of kCounts) press(`panes-${count}`, count === panes.count);
    press('link', panes.isLinked);
    press('invert', Boolean(viewer.options.invert));
    byId('tools').querySelector('[data-do=link]').disabled = panes.count < 2;
    const isStill = viewer.places.length < 2;
    for (const field of document.querySelectorAll('#cine button, #cine input'))
        /** @type {HTMLInputElement} */ (field).disabled = isStill;
};

/** @type {{uid: string, name: string, colours: number[]}[]} */
const maps = [];
for (const what of ['image', 'view', 'hover', 'size']) panes.addEventListener(what, write);
for (const what of ['image', 'window', 'tool', 'panes']) panes.addEventListener(what, mark);
panes.addEventListener('image', () => { byId('probe').hidden = true; });
const progress = makeStrip(byId('strip'), viewer);
makePanel(viewer);
makeRegions(viewer, maps);
makeHistogram(viewer);
makeKeys(viewer, actions);
viewer.setTool(viewer.tool);

const fail = (/** @type {Error} */ error) => {
    viewer.fault = error.message;
    viewer.say('fault');
};
const rest = () => new Promise((resolve) => setTimeout(resolve, kListEvery));

async function findImages() {
    for (let isDone = false, found = -1; !isDone;) {
        const { done, images, canSave, found: all, read, states } = await api.list();
        if (images.length !== found) panes.setImages(images);
        if (canSave && byId('saving').hidden) makeSaving(viewer);
        progress('Reading', read, all);
        found = images.length;
        isDone = done;
        if (!done) await rest();
        // The image may have been opened before its presentation states were found.
        else if (states && viewer.image) panes.reload();
    }
    const { images } = panes.shared;
    if (!images.length) throw new Error('There is no image here.');
    const all = images.filter((image) => !image.error).length;
    for (let thumbs = 0; thumbs < all;) {
        ({ thumbs } = await api.progress());
        progress('Thumbnails', thumbs, all);
        if (thumbs < all) await rest();
    }
}

findImages().catch(fail);
api.colourMaps().then((found) => {
    maps.push(...found);
    fillMaps(viewer, found);
}, fail);
