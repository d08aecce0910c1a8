/**
 * The settings at the right: window, presets, grey levels, colour maps, notes, the trace of a pixel,
 * saving.
 */

import * as api from './api.js';
import { byId, element, onceAFrame } from './dom.js';
import { windowText } from './pane.js';

const kSpokenAfter = 600;  // ms of rest before a screen reader hears the window
const kSources = /** @type {Record<string, string>} */ ({
    'voi-lut-entry': 'the image', 'raw-attributes': 'the image', automatic: 'measured', option: 'set by hand',
    fallback: 'nothing is known of it', 'colormap-suv': 'the colour map', preset: 'preset',
    'presentation-state': 'presentation state', saved: 'saved parameters',
});

/** @param {import('./view.js').Viewer} viewer */
export function makePanel(viewer) {
    const center = byId('center'), width = byId('width');
    const gamma = byId('gamma'), gammaNumber = byId('gamma-number'), state = byId('state');
    let spoken = 0;

    /** Not while it is being typed in.
     * @param {HTMLInputElement} field @param {number | string} value */
    const put = (field, value) => { if (field !== document.activeElement) field.value = String(value); };
    const typed = () => {
        const window = { center: Number(center.value), width: Number(width.value) };
        if (center.value === '' || !(window.width > 0)) {
            Object.assign(center, { value: viewer.window?.center });
            Object.assign(width, { value: viewer.window?.width });
            return;
        }
        viewer.select(-1);
        viewer.setWindow(window);
    };
    center.onchange = width.onchange = typed;
    gamma.oninput = () => viewer.setOption('gamma', Number((10 ** gamma.value).toFixed(2)));
    gammaNumber.onchange = () => {
        const value = Number(gammaNumber.value);
        if (value > 0) viewer.setOption('gamma', value);
        else gammaNumber.value = viewer.table?.gamma;
    };
    for (const field of [center, width, gammaNumber]) field.addEventListener('blur', () => refresh());
    state.onchange = () => viewer.setState(state.value === '' ? false : Number(state.value));
    byId('overlays').onchange = () => viewer.setOverlays(byId('overlays').checked);
    byId('invert').onchange = () => viewer.setOption('invert', viewer.options.invert ? undefined : true);

    /** @param {HTMLElement} where @param {HTMLElement[]} children @param {string} none */
    const fill = (where, children, none) =>
        where.replaceChildren(...(children.length ? children : [element('p', { className: 'quiet' }, none)]));

    /** What changes with the image only. */
    const rebuild = () => {
        const { opened } = viewer, grey = viewer.isGrey;
        for (const section of document.querySelectorAll('#panel section'))
            if (section.querySelector('#window-title, #entries, #presets, #gamma, #maps, #regions'))
                /** @type {HTMLElement} */ (section).hidden = !grey;
        /** @type {{text: string}[]} */
        const notes = opened?.info.notes ?? [];
        byId('notes-section').hidden = !notes.length;
        byId('notes').replaceChildren(...notes.map(({ text }) => element('li', {}, text)));
        // Where a state cannot be applied, another one can be chosen still.
        if (!opened && viewer.options.state !== undefined) return;
        const states = opened?.states ?? [];
        byId('state-label').hidden = !states.length;
        byId('overlays-label').hidden = !opened?.layers.length;
        byId('on-it').hidden = !states.length && !opened?.layers.length;
        state.replaceChildren(element('option', { value: '' }, 'None'), ...states.map((one) => {
            const day = one.created.replace(/^(\d{4})(\d\d)(\d\d).*$/, '$1-$2-$3');
            const text = [one.label || one.file, one.description, day].filter(Boolean).join(', ');
            return element('option', { value: one.id }, text);
        }));
        state.value = opened?.state ?? '';
        if (!opened || !grey) return;
        const unit = viewer.units ? `(${viewer.units})` : '';
        for (const label of document.querySelectorAll('.unit')) label.textContent = unit;
        byId('own').replaceChildren('Reset to the window of the image',
            element('small', {}, windowText(viewer.ownWindow)));
        fill(byId('entries'), opened.entries.map((entry, i) => {
            const numbers = entry.function === 'table' ? 'table' : windowText(entry);
            const title = `${entry.explanation ?? ''} (${entry.function})`;
            const button = element('button', { type: 'button', title },
                entry.explanation || `Window ${i + 1}`, element('small', {}, numbers));
            button.dataset.voi = String(i);
            button.onclick = () => viewer.setWindow({ voi: i });
            return button;
        }), 'The image has none.');
        fill(byId('presets'), opened.presets.map(({ name, reason }, i) => {
            const title = reason ?? (i < 9 ? `${name} (${i + 1})` : name);
            const button = element('button', { type: 'button', title }, name);
            button.dataset.preset = name;
            if (reason) {
                button.ariaDisabled = 'true';
                button.append(element('span', { className: 'hidden' }, `: ${reason}`));
            } else {
                if (i < 9) button.append(element('small', { ariaHidden: 'true' }, String(i + 1)));
                button.onclick = () => viewer.setWindow({ preset: name });
            }
            return button;
        }), `None for ${opened.info.modality}.`);
    };

    const refresh = onceAFrame(() => {
        const { window, table, options } = viewer;
        if (!window || !table || !viewer.opened) return;
        const digits = viewer.range >= 100 ? 1 : 4;
        put(center, Number(window.center.toFixed(digits)));
        put(width, Number(window.width.toFixed(digits)));
        center.step = width.step = viewer.range >= 100 ? '1' : 'any';
        const { source } = table.windows[0], from = options.preset ?? kSources[source] ?? source;
        byId('source').textContent = `From: ${from}${viewer.isKept ? ', kept for this series' : ''}`;
        put(gamma, Math.log10(table.gamma));
        put(gammaNumber, Number(table.gamma.toPrecision(6)));
        gamma.ariaValueText = gammaNumber.value;
        byId('invert').checked = Boolean(options.invert);
        const region = viewer.regions[viewer.selected]?.options ?? options;
        for (const button of document.querySelectorAll('#presets button, #entries button')) {
            const { preset, voi } = /** @type {HTMLElement} */ (button).dataset;
            button.ariaPressed = String(preset ? region.preset === preset : region.voi === Number(voi));
        }
        /** @type {NodeListOf<HTMLInputElement>} */
        const maps = document.querySelectorAll('#maps input');
        for (const input of maps)
            input.checked = input.value === (options.colormap ?? '');
        clearTimeout(spoken);
        const text = `Window ${windowText(window)} ${viewer.units}`;
        spoken = setTimeout(() => { byId('spoken').textContent = text; }, kSpokenAfter);
    });
    viewer.addEventListener('image', () => { rebuild(); refresh(); });
    viewer.addEventListener('overlays', () => { byId('overlays').checked = viewer.overlays; });
    for (const what of ['window', 'regions']) viewer.addEventListener(what, refresh);
}

/**
 * @param {import('./view.js').Viewer} viewer
 * @param {{uid: string, name: string, colours: number[]}[]} maps
 */
export function fillMaps(viewer, maps) {
    const greys = Array.from({ length: 256 }, (_, i) => i * 0x010101);
    const grey = { uid: '', name: 'As the image', colours: greys };
    byId('maps').replaceChildren(...[grey, ...maps].map(({ uid, name, colours }) => {
        const bar = element('canvas', { width: 256, height: 1, ariaHidden: 'true' });
        const context = bar.getContext('2d');
        colours.forEach((colour, i) => {
            context.fillStyle = `#${colour.toString(16).padStart(6, '0')}`;
            context.fillRect(i, 0, 1, 1);
        });
        const input = element('input', { type: 'radio', name: 'map', value: uid, checked: !uid });
        input.onchange = () => viewer.setOption('colormap', uid || undefined);
        return element('label', {}, input, element('span', {}, name), bar);
    }));
}

/**
 * Why a pixel looks as it does.
 * @param {import('./view.js').Viewer} viewer
 * @param {number} x
 * @param {number} y
 */
export async function explainPixel(viewer, x, y) {
    if (!viewer.image) return;
    byId('probe').hidden = false;
    const where = byId('trace');
    try {
        const { image, frame, options, regions } = viewer;
        const answer = await api.explain(image.id, frame, options, regions, x, y);
        const list = (/** @type {any[]} */ steps) => element('ol', {}, ...steps.map((step) =>
            element('li', {}, element('b', {}, step.step.replaceAll('-', ' ')), step.text,
                    ...step.attributes.map((/** @type {string} */ text) => element('small', {}, text)))));
        const [point] = answer.points, chip = element('span', { className: 'chip' });
        chip.style.background = point.display ?? 'none';
        const title = `Column ${x}, row ${y}: ${point.display ?? 'not on the screen'}`;
        where.replaceChildren(element('h3', {}, chip, title),
            list(point.steps), element('h3', {}, 'The whole image'), list(answer.image));
    } catch (error) {
        where.replaceChildren(/** @type {Error} */ (error).message);
    }
    byId('probe').scrollIntoView({ block: 'nearest' });
}

/** @param {import('./view.js').Viewer} viewer */
export function makeSaving(viewer) {
    byId('saving').hidden = false;
    const save = async (/** @type {string} */ kind) => {
        const { image, frame, options, regions, overlays, programView: view } = viewer;
        const said = byId('saved');
        if (!image || !viewer.opened) return;
        try {
            const name = await api.save({ kind, id: image.id, frame, options, regions, overlays, view });
            said.textContent = `Saved as ${name}`;
        } catch (error) {
            said.textContent = `Not saved: ${/** @type {Error} */ (error).message}`;
        }
    };
    for (const button of /** @type {NodeListOf<HTMLElement>} */ (document.querySelectorAll('[data-save]')))
        button.addEventListener('click', () => save(button.dataset.save ?? ''));
}
