// The rules of the page that need no browser: node --test tests/web/page_test.mjs. Those that do: browser/.
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { latest, parseTable, typedPixels } from '../../web/page/api.js';
import { apply, flipped, imageSize, imageToScreen, inverse, plainView, programView, turned, zoomAbout } from '../../web/page/geometry.js';
import { ticks } from '../../web/page/scale.js';
import { between, contains, handles, isShape, moved, reshaped, withCorner, withoutCorner } from '../../web/page/shapes.js';
import { draggedWindow, valueOf, withWindow } from '../../web/page/view.js';

const image = imageSize(100, 60, null), screen = { width: 401, height: 301 };

test('a point of the image lies where the view says', () => {
    const one = { ...plainView(), zoom: 1 };
    const rows = [
        ['one to one', one, 0, 0, 151, 121],
        ['magnified', { ...one, zoom: 2 }, 0, 0, 101, 91],
        ['panned', { ...one, panX: 10, panY: -5 }, 0, 0, 161, 116],
        ['turned clockwise: the first row is at the right', turned(one), 0, 0, 231, 101],
        ['flipped', flipped(one), 0, 0, 251, 121],
        ['turned, then flipped on the screen', flipped(turned(one)), 0, 0, 171, 101],
        ['flipped, then turned', turned(flipped(one)), 0, 0, 231, 201],
        ['fitted', plainView(), 0, 0, 0, 30],
    ];
    for (const [name, view, x, y, sx, sy] of rows) {
        const m = imageToScreen(view, image, screen), at = apply(m, x, y), back = apply(inverse(m), at.x, at.y);
        assert.ok(Math.abs(at.x - sx) <= 0.5 && Math.abs(at.y - sy) <= 0.5, `${name}: ${at.x}, ${at.y}`);
        assert.ok(Math.abs(back.x - x) < 1e-9 && Math.abs(back.y - y) < 1e-9, name);
        assert.ok(Number.isInteger(m.e) && Number.isInteger(m.f), `${name}: between pixels`);
    }
    let view = { ...one, panX: 3, panY: 4 };
    for (let i = 0; i < 4; ++i) view = flipped(flipped(turned(view)));
    assert.equal(JSON.stringify({ ...view, panX: view.panX + 0, panY: view.panY + 0 }), JSON.stringify({ ...one, panX: 3, panY: 4 }));
});

test('zoom leaves the point in place and has its limits', () => {
    const before = apply(inverse(imageToScreen(plainView(), image, screen)), 300, 100);
    const zoomed = zoomAbout(plainView(), image, screen, 3, 300, 100);
    const after = apply(inverse(imageToScreen(zoomed, image, screen)), 300, 100);
    assert.ok(Math.hypot(before.x - after.x, before.y - after.y) < 0.3);
    assert.equal(zoomAbout(zoomed, image, screen, 1e9, 0, 0).zoom, 64);
    assert.equal(zoomAbout(zoomed, image, screen, 0, 0, 0).zoom, 0.02);
});

test('pixels that are not square', () => {
    for (const [pixelRatio, x, y] of [[2, 1, 2], [0.5, 2, 1], [0.9999, 1, 1], [0, 1, 1], [NaN, 1, 1]]) {
        const { stretchX, stretchY } = imageSize(100, 60, { pixelRatio, mode: 'fit' });
        assert.deepEqual([stretchX, stretchY], [x, y], String(pixelRatio));
    }
});

test('an image lies as its presentation state says, and the program is asked for the same place', () => {
    const state = { turns: 1, flip: true, area: [20, 10, 40, 50], mode: 'fit', zoom: null, pixelRatio: 1 };
    for (const [name, placement, scale, zoom] of [['fitted', state, 1, 10.025],
                                                  ['magnified', { ...state, mode: 'magnify', zoom: 2.5 }, 2, 2.5],
                                                  ['in true size', { ...state, mode: 'true', zoom: 2.5 }, 2, 5]]) {
        const size = imageSize(100, 60, placement, scale), view = plainView(placement);
        const m = imageToScreen(view, size, screen), centre = apply(m, 30, 30), asked = programView(view, size, screen);
        assert.ok(Math.abs(centre.x - 200.5) <= 0.5 && Math.abs(centre.y - 150.5) <= 0.5, name);
        assert.equal(asked.zoom, zoom, name);
        assert.deepEqual([asked.rotate, asked.flip, asked.size], [90, 'h', '401x301']);
        const middle = apply(m, 50, 30);
        assert.ok(Math.abs(middle.x - 200.5 - asked.pan[0]) < 1e-9 && Math.abs(middle.y - 150.5 - asked.pan[1]) < 1e-9, name);
    }
});

test('a window follows the hand and the range', () => {
    const from = { center: 40, width: 400 };
    for (const [dx, dy, range, center, width] of [[10, 0, 4000, 40, 440], [0, -10, 4000, 80, 400], [-500, 0, 4000, 40, 1],
                                                  [10, 10, 1, 39.99, 400.01]])
        assert.deepEqual(draggedWindow(from, dx, dy, range), { center, width }, `${dx} ${dy} ${range}`);
    assert.deepEqual(withWindow({ preset: 'Lung', gamma: 2, voi: 1 }, { auto: true }), { gamma: 2, auto: true });
});

test('what a pixel value is', () => {
    const line = { slope: 2, intercept: -10, first: null, last: null, table: null };
    for (const [name, value, pixel, expected] of [
        ['rescale', line, 100, 190], ['in its range', { ...line, first: 0, last: 100 }, 100, 190],
        ['beyond', { ...line, first: 0, last: 99 }, 100, null], ['a table', { ...line, first: 5, last: 7, table: [1, 2, 4] }, 7, 4],
        ['a short one', { ...line, first: 5, last: 9, table: [1, 2, 4] }, 9, null]])
        assert.equal(valueOf(value, pixel), expected, name);
});

test('shapes', () => {
    const rows = [
        ['rect:10,10,30,20', { x: 15, y: 15 }, { x: 15, y: 25 }], ['rect:30,20,10,10', { x: 15, y: 15 }, { x: 5, y: 15 }],
        ['ellipse:20,20,10,5', { x: 29, y: 20 }, { x: 28, y: 24 }], ['polygon:0,0 10,0 0,10', { x: 2, y: 2 }, { x: 8, y: 8 }]];
    for (const [shape, inside, outside] of rows) {
        assert.ok(isShape(shape) && contains(shape, inside) && !contains(shape, outside), shape);
        assert.ok(contains(moved(shape, 100, -7), { x: inside.x + 100, y: inside.y - 7 }), shape);
    }
    for (const bad of ['', 'rect:1,2,3', 'polygon:1,1 2,2', 'mask:x.png', 'rect:1,2,3,4;invert', 'ellipse:1e5,2,3,4'])
        assert.ok(!isShape(bad), bad);
    assert.equal(between('ellipse', { x: 30, y: 10 }, { x: 10, y: 20 }), 'ellipse:20,15,10,5');
    assert.equal(between('rect', { x: 1, y: 1 }, { x: 1.5, y: 9 }), null);
});

test('shapes are changed by their handles', () => {
    assert.deepEqual(handles('ellipse:20,15,10,5'), handles('rect:10,10,30,20'));
    for (const [name, shape, handle, to, expected] of [
        ['a corner', 'rect:10,10,30,20', 2, { x: 40, y: 25 }, ['rect:10,10,40,25', 2]],
        ['another', 'rect:10,10,30,20', 1, { x: 40, y: 5 }, ['rect:10,5,40,20', 1]],
        ['over the other side', 'ellipse:20,15,10,5', 0, { x: 50, y: 40 }, ['ellipse:40,30,10,10', 2]],
        ['to nothing', 'rect:10,10,30,20', 2, { x: 10, y: 10 }, ['rect:10,10,30,20', 0]],
        ['of a polygon', 'polygon:0,0 10,0 0,10', 1, { x: 9, y: 9 }, ['polygon:0,0 9,9 0,10', 1]]]) {
        const made = reshaped(shape, handle, to);
        assert.deepEqual([made.shape, made.handle], expected, name);
    }
    assert.equal(withCorner('polygon:0,0 10,0 0,10', { x: 5, y: 6 }, 2), 'polygon:0,0 10,0 5,6 0,10');
    assert.equal(withCorner('polygon:0,0 10,0 0,10', { x: 9, y: 9 }, 2), null, 'too far');
    assert.equal(withoutCorner('polygon:0,0 10,0 5,6 0,10', 2), 'polygon:0,0 10,0 0,10');
    assert.equal(withoutCorner('polygon:0,0 10,0 0,10', 2), null, 'too few');
});

test('ticks stand on round values', () => {
    for (const [low, high, count, expected] of [[-160, 240, 4, [-100, 0, 100, 200]], [0, 1, 5, [0, 0.2, 0.4, 0.6, 0.8, 1]],
                                                [5, 5, 4, []], [0, NaN, 4, []]])
        assert.deepEqual(ticks(low, high, count), expected);
});

test('a table and its labels are taken apart', () => {
    const head = new TextEncoder().encode('{"entries":2,"first":-1,"tables":2,"labels":true} '.padEnd(52));
    const bytes = new Uint8Array([52, 0, 0, 0, ...head, ...Array.from({ length: 16 }, (_, i) => i), 0, 1, 1]);
    const { first, colours, labels } = parseTable(bytes.buffer);
    assert.deepEqual([first, colours.length, colours[4], [...labels]], [-1, 16, 4, [0, 1, 1]]);
    assert.deepEqual([...typedPixels(new Uint8Array([255, 255, 1, 0]).buffer, { bits: 12, signed: true, colour: false })], [-1, 1]);
});

test('of the calls made meanwhile the newest is carried out', async () => {
    const done = [];
    const run = latest(async (n) => { await null; done.push(n); });
    for (const n of [1, 2, 3]) run(n);
    await new Promise((resolve) => setTimeout(resolve, 5));
    run(4);
    await new Promise((resolve) => setTimeout(resolve, 5));
    assert.deepEqual(done, [1, 3, 4]);
    const failing = latest(async () => { done.push(0); throw new Error('as wanted'); });
    await assert.rejects(failing(1));
    await assert.rejects(failing(1), undefined, 'it runs again after a failure');
});
