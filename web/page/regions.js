/** Regions: their outlines on the image and their list, the topmost first. */

import { byId, element, onceAFrame } from './dom.js';
import { apply } from './geometry.js';
import { handles, isShape, outline, parse } from './shapes.js';
import { withWindow } from './view.js';

/** @type {Record<string, string>} */
const kKinds = { rect: 'Rectangle', ellipse: 'Ellipse', polygon: 'Polygon' };

const kHandle = 8;  // CSS pixels a side

/** The outlines, the handles of the selected region and the cross of the probe.
 * @param {SVGElement} marks @param {import('./view.js').Viewer} viewer */
export function makeMarks(marks, viewer) {
    const svg = (/** @type {string} */ tag, /** @type {Record<string, string | number>} */ attributes) => {
        const made = document.createElementNS('http://www.w3.org/2000/svg', tag);
        for (const [name, value] of Object.entries(attributes)) made.setAttribute(name, String(value));
        return made;
    };

    const drawMarks = onceAFrame(() => {
        const scale = devicePixelRatio, toScreen = viewer.toScreen;
        /** @param {string} shape @param {string} kind @param {string} name */
        const mark = (shape, kind, name) => {
            const corners = outline(shape).map((p) => apply(toScreen, p.x, p.y));
            const points = corners.map((p) => `${p.x / scale},${p.y / scale}`).join(' ');
            const top = corners.reduce((best, p) => (p.y < best.y ? p : best));
            const text = svg('text', { x: top.x / scale + 4, y: top.y / scale - 5 });
            text.textContent = name;
            const under = svg('polygon', { points, class: 'under' });
            return [under, svg('polygon', { points, class: kind }), text];
        };
        const { regions, selected, hover, handle } = viewer;
        const parts = regions.flatMap(({ shape }, i) =>
            mark(shape, i === selected ? 'selected' : '', String(i + 1)));
        const points = viewer.tool === 'select' && regions[selected] ? handles(regions[selected].shape) : [];
        points.forEach((p, i) => {
            const at = apply(toScreen, p.x, p.y), half = kHandle / 2;
            const box = { x: at.x / scale - half, y: at.y / scale - half, width: kHandle, height: kHandle };
            parts.push(svg('rect', { ...box, class: i === handle ? 'handle chosen' : 'handle' }));
        });
        if (viewer.draft) parts.push(...mark(viewer.draft, 'draft', ''));
        if (hover && viewer.tool === 'probe') {
            const at = apply(toScreen, hover.x + 0.5, hover.y + 0.5), x = at.x / scale, y = at.y / scale;
            const d = `M${x - 12} ${y}h8m8 0h8M${x} ${y - 12}v8m0 8v8`;
            parts.push(svg('path', { d, class: 'under' }), svg('path', { d }));
        }
        marks.replaceChildren(...parts);
    });
    for (const what of ['image', 'view', 'regions', 'size', 'hover', 'tool'])
        viewer.addEventListener(what, drawMarks);
}

/** The list.
 * @param {import('./view.js').Viewer} viewer @param {{uid: string, name: string}[]} maps filled in later */
export function makeRegions(viewer, maps) {
    const list = byId('regions');

    /**
     * @param {string} key
     * @param {string} label
     * @param {HTMLElement} field
     * @param {(value: string) => void} change
     */
    const labelled = (key, label, field, change) => {
        field.dataset.key = key;
        field.onchange = () => change(/** @type {HTMLInputElement} */ (field).value);
        return element('label', {}, `${label} `, field);
    };
    /** @param {string[][]} choices value and text @param {string} value */
    const select = (choices, value) => {
        const options = choices.map(([value, text]) => element('option', { value }, text));
        const made = element('select', {}, ...options);
        made.value = value;
        return made;
    };

    /** @param {number} at */
    const fieldsOf = (at) => {
        const region = viewer.regions[at], { options } = region;
        /** @param {import('./api.js').Options} options */
        const set = (options) => viewer.setRegion(at, { ...region, options });
        /** @param {number | undefined} value */
        const number = (value) => element('input', { type: 'number', step: 'any', value: value ?? '' });
        const { center = 0, width = 1 } = viewer.target ?? {}, own = { center, width };
        const usable = (viewer.opened?.presets ?? []).filter((preset) => !preset.reason);
        const presets = [['', 'None'], ...usable.map(({ name }) => [name, name])];
        const shape = element('input', { type: 'text', value: region.shape, spellcheck: false });
        const colours = [['', 'As the image'], ...maps.map(({ uid, name }) => [uid, name])];
        const invert = element('input', { type: 'checkbox', checked: Boolean(options.invert) });
        invert.dataset.key = 'invert';
        invert.onchange = () => set({ ...options, invert: invert.checked });
        return [
            labelled('shape', 'Shape', shape, (shape) => {
                if (isShape(shape)) viewer.setRegion(at, { ...region, shape });
                else fill();
            }),
            element('div', { className: 'pair' },
                labelled('center', 'Centre', number(options.center), (value) =>
                    set(withWindow(options, { center: Number(value), width: own.width }))),
                labelled('width', 'Width', number(options.width), (value) =>
                    set(withWindow(options, { center: own.center, width: Math.max(1e-4, Number(value)) }))),
                labelled('preset', 'Preset', select(presets, options.preset ?? ''), (preset) =>
                    set(withWindow(options, preset ? { preset } : { ...own }))),
                labelled('map', 'Colour map', select(colours, options.colormap ?? ''), (colormap) => {
                    const { colormap: _, ...rest } = options;
                    set(colormap ? { ...rest, colormap } : rest);
                })),
            element('label', { className: 'check' }, invert, 'Inverted')];
    };

    const fill = onceAFrame(() => {
        const { regions, selected } = viewer;
        const focus = list.querySelector(':focus')?.dataset.key;
        const rows = regions.map(({ shape }, i) => {
            const swap = (/** @type {number} */ by) => {
                const next = [...regions];
                if (!next[i + by]) return;
                [next[i], next[i + by]] = [next[i + by], next[i]];
                viewer.setRegions(next, i + by);
            };
            /** @param {string} key @param {string} text @param {string} title @param {() => void} onclick */
            const small = (key, text, title, onclick) => {
                const look = { type: 'button', className: 'small', title, ariaLabel: title, onclick };
                const made = element('button', look, text);
                made.dataset.key = `${key}${i}`;
                return made;
            };
            const kind = kKinds[parse(shape).kind];
            const header = element('header', {},
                small('select', `${i + 1}  ${kind}`, `Select region ${i + 1}, ${kind}`,
                      () => viewer.select(i === selected ? -1 : i)),
                small('up', '\u2191', `Region ${i + 1}: one up`, () => swap(1)),
                small('down', '\u2193', `Region ${i + 1}: one down`, () => swap(-1)),
                small('delete', '\u00d7', `Delete region ${i + 1}`, () => removeRegion(viewer, i)));
            header.firstChild.ariaPressed = String(i === selected);
            return i === selected ? element('li', { className: 'selected' }, header, ...fieldsOf(i))
                : element('li', {}, header);
        });
        if (!rows.length) rows.push(element('li', { className: 'none' }, 'Draw one with the tools above.'));
        list.replaceChildren(...rows.reverse());
        if (focus) list.querySelector(`[data-key="${focus}"]`)?.focus();
    });
    for (const what of ['image', 'regions']) viewer.addEventListener(what, fill);
}

/** @param {import('./view.js').Viewer} viewer @param {number} at */
export const removeRegion = (viewer, at) => viewer.setRegions(viewer.regions.filter((_, i) => i !== at), -1);
