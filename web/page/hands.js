/** Mouse, touch and keys. */

import { apply, flipped, inverse, panned, turned, zoomAbout } from './geometry.js';
import { explainPixel } from './panel.js';
import { removeRegion } from './regions.js';
import { between, contains, format, handleAt, handles, withCorner, withoutCorner } from './shapes.js';
import { draggedWindow, withWindow } from './view.js';

/** @typedef {{x: number, y: number}} Point */

const kZoomStep = 1.25, kDoubleOver = 150, kWheelNotch = 80, kCloseBy = 10, kKeyStep = 10, kKeyPan = 40;
const kReach = 14, kTouchReach = 24;  // CSS pixels about a handle or an edge

/**
 * What the buttons and keys do.
 * @param {import('./view.js').Viewer} viewer
 * @returns {Record<string, () => void>}
 */
export function actionsOf(viewer) {
    const zoom = (/** @type {number} */ factor) => {
        const { view, size, screen } = viewer;
        viewer.setView(zoomAbout(view, size, screen, factor, screen.width / 2, screen.height / 2));
    };
    return {
        auto: () => viewer.setWindow({ auto: true }),
        own: () => viewer.setOptions(withWindow(viewer.options, {})),
        invert: () => viewer.setOption('invert', viewer.options.invert ? undefined : true),
        rotate: () => viewer.setView(turned(viewer.view)),
        flip: () => viewer.setView(flipped(viewer.view)),
        plus: () => zoom(kZoomStep),
        minus: () => zoom(1 / kZoomStep),
        fit: () => viewer.setView({ ...viewer.view, zoom: null, panX: 0, panY: 0 }),
        one: () => zoom(1 / viewer.zoom),
        reset: () => viewer.resetAll(),
    };
}

/** @param {HTMLCanvasElement} canvas @param {import('./view.js').Viewer} viewer */
export function makePointers(canvas, viewer) {
    /** @type {Map<number, Point>} */
    const down = new Map();
    /** @type {Drag} */
    let drag = {};
    /** @type {Point[]} */
    let corners = [];
    let wheel = 0;
    /** Where the pointer is.
     * @type {Point?} */
    let pointer = null;

    /** @param {MouseEvent} event @returns {Point} in pixels of the device */
    const pointOf = (event) => {
        const { left, top } = canvas.getBoundingClientRect();
        return { x: (event.clientX - left) * devicePixelRatio, y: (event.clientY - top) * devicePixelRatio };
    };
    const inImage = (/** @type {Point} */ at) => apply(inverse(viewer.toScreen), at.x, at.y);

    /** @typedef {{move?: (at: Point) => void, up?: (at: Point) => void}} Drag */

    /** @param {Point} from @returns {Drag} */
    const panning = (from) => {
        const { view, zoom } = viewer;
        return { move: (at) => viewer.setView(panned({ ...view, zoom }, at.x - from.x, at.y - from.y)) };
    };
    /** @param {Point} from @returns {Drag} */
    const zooming = (from) => {
        const { view, size, screen } = viewer, double = kDoubleOver * devicePixelRatio;
        return { move: (at) =>
            viewer.setView(zoomAbout(view, size, screen, 2 ** ((from.y - at.y) / double), from.x, from.y)) };
    };
    /** @param {Point} from @returns {Drag} */
    const windowing = (from) => {
        const start = viewer.target, range = viewer.range / devicePixelRatio;
        const move = (/** @type {Point} */ at) => {
            if (start) viewer.setWindow(draggedWindow(start, at.x - from.x, at.y - from.y, range));
        };
        return { move };
    };
    /** @returns {Drag} */
    const pinching = () => {
        const spread = () => {
            const [a, b] = [...down.values()], apart = Math.max(1, Math.hypot(a.x - b.x, a.y - b.y));
            return { x: (a.x + b.x) / 2, y: (a.y + b.y) / 2, apart };
        };
        const first = spread(), { view, size, screen } = viewer;
        const move = () => {
            const now = spread();
            const zoomed = zoomAbout(view, size, screen, now.apart / first.apart, first.x, first.y);
            viewer.setView(panned(zoomed, now.x - first.x, now.y - first.y));
        };
        return { move };
    };
    /** In pixels of the image. */
    const reach = (/** @type {boolean} */ isTouch) =>
        (isTouch ? kTouchReach : kReach) * devicePixelRatio / viewer.zoom;
    /** @param {Point} from @param {boolean} isTouch @returns {Drag} */
    const selecting = (from, isTouch) => {
        const start = inImage(from), selected = viewer.regions[viewer.selected];
        const handle = selected ? handleAt(selected.shape, start, reach(isTouch)) : -1;
        if (handle >= 0) {
            viewer.select(viewer.selected, handle);
            return { move: (at) => viewer.moveHandle(inImage(at)) };
        }
        const at = viewer.regions.map((region) => contains(region.shape, start)).lastIndexOf(true);
        viewer.select(at);
        let last = start;
        return at < 0 ? {} : { move: (point) => {
            const now = inImage(point), dx = Math.round(now.x - last.x), dy = Math.round(now.y - last.y);
            if (dx || dy) viewer.moveRegion(at, dx, dy);
            last = { x: last.x + dx, y: last.y + dy };
        } };
    };
    /** A corner of the selected polygon goes, or a new one comes. */
    const changeCorners = (/** @type {Point} */ from) => {
        const shape = viewer.regions[viewer.selected]?.shape, at = inImage(from);
        if (!shape) return;
        const handle = handleAt(shape, at, reach(false));
        viewer.setShape(handle < 0 ? withCorner(shape, at, reach(false)) : withoutCorner(shape, handle));
    };
    /** @param {Point} from @returns {Drag} */
    const drawing = (from) => {
        const shapeTo = (/** @type {Point} */ at) => between(viewer.tool, inImage(from), inImage(at)) ?? '';
        return { move: (at) => viewer.setDraft(shapeTo(at)),
                 up: (at) => { if (shapeTo(at)) viewer.addRegion(shapeTo(at)); } };
    };
    const closePolygon = () => {
        if (corners.length > 2) viewer.addRegion(format('polygon', corners));
        else viewer.setDraft('');
        corners = [];
    };
    const addCorner = (/** @type {Point} */ from) => {
        const first = corners[0] && apply(viewer.toScreen, corners[0].x, corners[0].y);
        const near = kCloseBy * devicePixelRatio;
        if (first && Math.hypot(first.x - from.x, first.y - from.y) < near) return closePolygon();
        corners.push(inImage(from));
        viewer.setDraft(format('polygon', corners));
    };
    viewer.addEventListener('tool', () => {
        corners = [];
        viewer.setDraft('');
    });

    const explain = () => { if (viewer.hover) explainPixel(viewer, viewer.hover.x, viewer.hover.y); };

    /** @param {PointerEvent} event @param {Point} at @returns {Drag} */
    const begin = (event, at) => {
        if (event.button === 2 || event.ctrlKey) return zooming(at);
        if (event.button === 1 || event.shiftKey) return panning(at);
        if (!viewer.isGrey && viewer.tool !== 'probe') return {};
        switch (viewer.tool) {
            case 'probe': return { up: explain };
            case 'select': return selecting(at, event.pointerType === 'touch');
            case 'polygon': addCorner(at); return {};
            case 'rect': case 'ellipse': return drawing(at);
            default: return windowing(at);
        }
    };

    canvas.addEventListener('pointerdown', (event) => {
        if (!viewer.opened) return;
        canvas.setPointerCapture(event.pointerId);
        const at = pointOf(event);
        down.set(event.pointerId, at);
        if (down.size > 2) return;
        viewer.setHover(inImage(at));
        drag = down.size === 2 ? pinching() : begin(event, at);
    });
    // The middle button pans, it does not scroll the page.
    canvas.addEventListener('mousedown', (event) => { if (event.button === 1) event.preventDefault(); });
    const hover = () => viewer.setHover(pointer && inImage(pointer));
    for (const what of ['image', 'view']) viewer.addEventListener(what, hover);
    canvas.addEventListener('pointermove', (event) => {
        const at = pointer = pointOf(event);
        if (down.has(event.pointerId)) down.set(event.pointerId, at);
        if (down.size) drag.move?.(at);
        hover();
        if (corners.length && !down.size) viewer.setDraft(format('polygon', [...corners, inImage(at)]));
    });
    canvas.addEventListener('pointerup', (event) => {
        if (down.delete(event.pointerId)) drag.up?.(pointOf(event));
        drag = {};
    });
    canvas.addEventListener('pointercancel', (event) => {
        down.delete(event.pointerId);
        drag = {};
    });
    canvas.addEventListener('pointerleave', () => {
        pointer = null;
        hover();
    });
    canvas.addEventListener('contextmenu', (event) => event.preventDefault());
    canvas.addEventListener('dblclick', (event) => {
        if (viewer.tool === 'polygon') closePolygon();
        else if (viewer.tool === 'select' && viewer.selected >= 0) changeCorners(pointOf(event));
        else viewer.resetView();
    });
    viewer.addEventListener('close', closePolygon);
    canvas.addEventListener('wheel', (event) => {
        event.preventDefault();
        const by = event.deltaY * (event.deltaMode ? 40 : 1);
        if (event.ctrlKey) {
            const { view, size, screen } = viewer, { x, y } = pointOf(event);
            viewer.setView(zoomAbout(view, size, screen, 2 ** (-by / 300), x, y));
            return;
        }
        wheel += by;
        if (Math.abs(wheel) < kWheelNotch) return;
        viewer.step(Math.sign(wheel));
        wheel = 0;
    }, { passive: false });
}

/** @param {import('./view.js').Viewer} viewer the active one @param {Record<string, () => void>} actions */
export function makeKeys(viewer, actions) {
    const remove = () => {
        const shape = viewer.regions[viewer.selected]?.shape;
        if (shape && viewer.handle >= 0) viewer.setShape(withoutCorner(shape, viewer.handle));
        else if (shape) removeRegion(viewer, viewer.selected);
    };
    /** To the next handle of the selected region, or the one before.
     * @param {number} by */
    const turn = (by) => {
        const shape = viewer.regions[viewer.selected]?.shape, count = shape ? handles(shape).length : 0;
        if (viewer.tool === 'select' && count)
            viewer.select(viewer.selected, (Math.max(viewer.handle, by < 0 ? 0 : -1) + by + count) % count);
    };
    const leave = () => {
        if (viewer.handle >= 0) return viewer.select(viewer.selected);
        viewer.setTool(viewer.tool);
        viewer.select(-1);
    };
    /** @type {Record<string, () => void>} */
    const keys = {
        a: actions.auto, i: actions.invert, r: actions.rotate, f: actions.flip, '+': actions.plus,
        '=': actions.plus, '-': actions.minus, 0: actions.reset, '?': actions.help, ' ': actions.play,
        w: actions.window, p: actions.probe, s: actions.select, g: actions.panes, l: actions.link,
        ']': () => turn(1), '[': () => turn(-1), Delete: remove, Escape: leave,
    };
    const arrows = /** @type {Record<string, number[]>} */ ({
        ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] });

    /** @param {KeyboardEvent} event @param {number} dx @param {number} dy */
    const arrow = (event, dx, dy) => {
        const isOnImage = document.activeElement?.matches('canvas.image');
        const { target, view, zoom, size } = viewer;
        if (event.shiftKey) {
            if (target) viewer.setWindow(draggedWindow(target, dx * kKeyStep, dy * kKeyStep, viewer.range));
        } else if (event.ctrlKey) {
            viewer.setView(panned({ ...view, zoom }, dx * kKeyPan, dy * kKeyPan));
        } else if (isOnImage && viewer.tool === 'probe') {
            const from = viewer.hover ?? { x: size.width >> 1, y: size.height >> 1 };
            viewer.setHover({ x: Math.max(0, Math.min(size.width - 1, from.x + dx)),
                              y: Math.max(0, Math.min(size.height - 1, from.y + dy)) });
        } else if (isOnImage && viewer.tool === 'select' && viewer.regions[viewer.selected]) {
            const corner = handles(viewer.regions[viewer.selected].shape)[viewer.handle];
            if (corner) viewer.moveHandle({ x: corner.x + dx, y: corner.y + dy });
            else viewer.moveRegion(viewer.selected, dx, dy);
        } else if (dx) {
            viewer.step(dx);
        } else {
            viewer.stepImage(dy);
        }
    };

    const enter = () => {
        const { width, height } = viewer.size, { tool, hover } = viewer;
        if (tool === 'probe' && hover) explainPixel(viewer, hover.x, hover.y);
        else if (tool === 'polygon') viewer.say('close');
        if (tool !== 'rect' && tool !== 'ellipse') return;
        /** @param {number} of */
        const part = (of) => ({ x: Math.round(width * of), y: Math.round(height * of) });
        const shape = between(tool, part(0.35), part(0.65));
        if (shape) viewer.addRegion(shape);
    };

    document.addEventListener('keydown', (event) => {
        const target = /** @type {HTMLElement} */ (event.target);
        const key = event.key.length === 1 ? event.key.toLowerCase() : event.key;
        if (event.altKey || event.metaKey || document.querySelector('dialog[open]')) return;
        if (target.matches('select, input:not([type=checkbox], [type=radio], [type=range])')) return;
        const isImage = target.matches('canvas.image'), isElsewhere = target !== document.body && !isImage;
        const direction = arrows[key];
        if (direction) {
            if (isElsewhere && target.closest('#panel')) return;
            arrow(event, direction[0], direction[1]);
        } else if (event.ctrlKey) {
            return;
        } else if (key === 'Enter' && isImage) {
            enter();
        } else if (key >= '1' && key <= '9' && key.length === 1) {
            const preset = viewer.opened?.presets[Number(key) - 1];
            if (preset && !preset.reason) viewer.setWindow({ preset: preset.name });
        } else if (keys[key] && !(key === ' ' && isElsewhere)) {
            keys[key]();
        } else {
            return;
        }
        event.preventDefault();
    });
}
