/** An image on the page: the picture, what is drawn over it, the texts in its corners. */

import { onceAFrame } from './dom.js';
import { makeDrawer } from './draw.js';
import { makePointers } from './hands.js';
import { makeLayers } from './layers.js';
import { makeMarks } from './regions.js';
import { makeColourBar } from './scale.js';
import { kDragType } from './strip.js';
import { shown } from './view.js';

/** @typedef {import('./view.js').Viewer} Viewer */

/** @param {{center: number, width: number}} window */
export const windowText = ({ center, width }) => `${shown(center)} / ${shown(width)}`;

/** @param {Viewer} viewer @param {number} number from 1 @returns {HTMLElement} */
export function makePane(viewer, number) {
    const template = /** @type {HTMLTemplateElement} */ (document.getElementById('pane'));
    const pane = /** @type {HTMLElement} */ (document.importNode(template.content, true).firstElementChild);
    const part = (/** @type {string} */ name) => /** @type {any} */ (pane.querySelector(`.${name}`));
    /** @type {HTMLCanvasElement} */
    const canvas = part('image');
    if (number === 1) canvas.id = 'image';
    part('described').id = `described-${number}`;
    canvas.setAttribute('aria-describedby', `described-${number}`);
    canvas.ariaLabel = `Image ${number}`;

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
    /** The table that the drawer has.
     * @type {import('./api.js').Table?} */
    let drawn = null;
    const drawTable = () => {
        if (viewer.table === drawn || !viewer.table || !viewer.opened) return;
        drawn = viewer.table;
        drawer.setTable(drawn, viewer.opened.pixels);
        draw();
    };

    const write = onceAFrame(() => {
        const { image, frame, places, opened, size, window, selected, target } = viewer;
        const at = places.findIndex((place) => place.image === image && place.frame === frame) + 1;
        const place = `${image && image.frames > 1 ? 'Frame' : 'Image'} ${at} of ${places.length}`;
        const { presentationState: state } = opened?.info ?? {};
        const file = image?.name.split('/').pop() ?? '';
        const kind = [image?.modality, image?.seriesText].filter(Boolean).join('  ');
        const stateText = state ? `Presentation state ${state.label ?? ''}` : '';
        part('name').textContent = [kind, file, stateText].filter(Boolean).join('\n');
        part('place').textContent = opened ? `${place}\n${size.width} \u00d7 ${size.height}` : '';
        const { preset, auto } = viewer.regions[selected]?.options ?? {};
        const how = preset ? `${preset} ` : auto ? 'automatic ' : '';
        const region = selected >= 0 && target ? `Region ${selected + 1}: ${how}${windowText(target)}\n` : '';
        const numbers = window ? `${region}C ${shown(window.center)}  W ${shown(window.width)}` : '';
        part('numbers').textContent = opened && !window ? 'In colour, without a window' : numbers;
        part('described').textContent = image ? `${image.name}. ${place}.` : 'No image';
        part('fault').textContent = viewer.fault;
    });

    viewer.addEventListener('image', drawImage);
    viewer.addEventListener('window', drawTable);
    for (const what of ['view', 'size']) viewer.addEventListener(what, draw);
    for (const what of ['image', 'window', 'regions', 'size', 'fault']) viewer.addEventListener(what, write);
    viewer.addEventListener('loading', () => { pane.ariaBusy = 'true'; });
    viewer.addEventListener('image', () => { pane.ariaBusy = 'false'; });
    viewer.addEventListener('tool', () => { canvas.dataset.tool = viewer.tool; });
    canvas.addEventListener('webglcontextlost', (event) => event.preventDefault());
    canvas.addEventListener('webglcontextrestored', () => {
        drawer = makeDrawer(canvas);
        drawImage();
    });
    pane.addEventListener('dragover', (event) => {
        if (event.dataTransfer?.types.includes(kDragType)) event.preventDefault();
    });
    pane.addEventListener('drop', (event) => {
        const id = event.dataTransfer?.getData(kDragType);
        const image = viewer.images.find((one) => String(one.id) === id);
        if (!image) return;
        event.preventDefault();
        canvas.focus();
        viewer.show(image, 0);
    });
    makeLayers(part('layers'), viewer);
    makeMarks(part('marks'), viewer);
    makeColourBar(part('bar'), viewer);
    makePointers(canvas, viewer);

    new ResizeObserver(([entry]) => {
        const box = entry.devicePixelContentBoxSize?.[0];
        canvas.width = box?.inlineSize ?? Math.round(canvas.clientWidth * devicePixelRatio);
        canvas.height = box?.blockSize ?? Math.round(canvas.clientHeight * devicePixelRatio);
        viewer.screen = { width: Math.max(1, canvas.width), height: Math.max(1, canvas.height) };
        drawer.draw(viewer.toScreen);
        viewer.say('size');
    }).observe(canvas, { box: 'device-pixel-content-box' });
    return pane;
}
