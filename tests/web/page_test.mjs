// The rules of the page that need no browser: node --test tests/web/page_test.mjs
import assert from 'node:assert/strict';
import { test } from 'node:test';
import { latest, parseTable, typedPixels } from '../../web/page/api.js';
import { apply, flipped, imageSize, imageToScreen, inverse, plainView, turned, zoomAbout } from '../../web/page/geometry.js';
import { ticks } from '../../web/page/scale.js';
import { between, contains, isShape, moved } from '../../web/page/shapes.js';
import { draggedWindow, modalityValue, withWindow } from '../../web/page/view.js';

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
    for (const [spacing, x, y] of [[[2, 1], 1, 2], [[1, 2], 2, 1], [[1, 1.0001], 1, 1], [[1, 0], 1, 1], [[0, 1], 1, 1]])
        assert.deepEqual(imageSize(100, 60, spacing), { width: 100, height: 60, stretchX: x, stretchY: y }, String(spacing));
});

test('a window follows the hand and the range', () => {
    const from = { center: 40, width: 400 };
    for (const [dx, dy, range, center, width] of [[10, 0, 4000, 40, 440], [0, -10, 4000, 80, 400], [-500, 0, 4000, 40, 1],
                                                  [10, 10, 1, 39.99, 400.01]])
        assert.deepEqual(draggedWindow(from, dx, dy, range), { center, width }, `${dx} ${dy} ${range}`);
    assert.deepEqual(withWindow({ preset: 'Lung', gamma: 2, voi: 1 }, { auto: true }), { gamma: 2, auto: true });
});

test('a value after rescale, unless a Modality LUT gives it', () => {
    const info = (slope, intercept, low, high) => ({ rescaleSlope: slope, rescaleIntercept: intercept,
        storedRange: { min: 0, max: 1000 }, modalityRange: { min: low, max: high } });
    for (const [name, from, value] of [
        ['rescale', info(1, -1024, -1024, -24), -924], ['falling', info(-1, 0, -1000, 0), -100],
        ['an intercept between whole numbers', info(1, 0, 0.5, 1000.5), 100], ['a table', info(1, 0, 0, 65535), null]])
        assert.equal(modalityValue(100, from), value, name);
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
});
