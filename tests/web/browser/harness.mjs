/** What the browser tests share: the program, the browser, images, and what the page shows. */

import { execFileSync, spawn } from 'node:child_process';
import { existsSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const require = createRequire(process.env.ZEV_NODE_MODULES);
const { chromium } = require('playwright-core');
const kProgram = process.env.ZEV_PROGRAM;
const kQuiet = 250;  // ms without a request, after which nothing more is drawn
const kFlags = ['--no-sandbox', '--use-angle=swiftshader', '--enable-unsafe-swiftshader', '--disable-quic',
                '--no-first-run', '--disable-background-networking'];

/** Where things are on the page: the one place that knows. */
export const at = {
    image: '.pane[data-active=true] canvas.image', layers: '.pane[data-active=true] canvas.layers',
    fault: '.pane[data-active=true] .fault', numbers: '.pane[data-active=true] .numbers',
    place: '.pane[data-active=true] .place', name: '.pane[data-active=true] .name',
    tool: (name) => `#tools [data-do="${name}"]`, thumb: (name) => `#strip button[title$="${name}"]`,
    preset: (name) => `#presets [data-preset="${name}"]`, entry: (i) => `#entries [data-voi="${i}"]`,
    map: (name) => `#maps label:has-text("${name}") input`, center: '#center', width: '#width',
    gamma: '#gamma-number', state: '#state', overlays: '#overlays', regions: '#regions li',
    regionField: (key) => `#regions li.selected [data-key="${key}"]`, trace: '#trace li',
    save: (kind) => `[data-save="${kind}"]`, saved: '#saved', broken: '#strip .broken', help: '#help',
};

export const folder = mkdtempSync(join(tmpdir(), 'zev-browser-'));
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));

/** @returns what the program prints */
export const zev = (...args) => execFileSync(kProgram, args, { encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'] });

export const samples = join(folder, 'samples');
zev('sample', samples);

/** Some real images, where there are any. */
export function realImages(count) {
    const from = process.env.ZEV_TEST_DATA ?? '../shared/data/open';
    if (!existsSync(join(from, 'MANIFEST.tsv'))) return [];
    const files = readFileSync(join(from, 'MANIFEST.tsv'), 'utf8').split('\n').slice(1)
        .map((line) => line.split('\t')[0]).filter((name) => name && existsSync(join(from, name)));
    return files.map((name) => join(from, name)).filter((path) => {
        try { return JSON.parse(zev('info', '--json', path)).rows < 1200; } catch { return false; }
    }).slice(0, count);
}

/** An image of CT with a pattern, so many pixels a side. */
export function makeImage(name, side, frames = 1) {
    const parts = [Buffer.alloc(128), Buffer.from('DICM')];
    const element = (group, number, vr, value) => {
        const even = value.length % 2 ? Buffer.concat([value, Buffer.from(vr === 'UI' ? '\0' : ' ')]) : value;
        const isLong = vr === 'OW', head = Buffer.alloc(isLong ? 12 : 8);
        head.writeUInt16LE(group, 0);
        head.writeUInt16LE(number, 2);
        head.write(vr, 4);
        if (isLong) head.writeUInt32LE(even.length, 8);
        else head.writeUInt16LE(even.length, 6);
        return Buffer.concat([head, even]);
    };
    const text = (group, number, vr, value) => element(group, number, vr, Buffer.from(String(value)));
    const word = (group, number, value) => element(group, number, 'US', Buffer.from([value & 255, value >> 8]));
    const uid = `2.25.${side}${frames}1`;
    const meta = Buffer.concat([text(2, 2, 'UI', '1.2.840.10008.5.1.4.1.1.2'), text(2, 3, 'UI', uid),
                                text(2, 0x10, 'UI', '1.2.840.10008.1.2.1')]);
    const length = Buffer.alloc(4);
    length.writeUInt32LE(meta.length);
    const pixels = new Uint16Array(side * side * frames);
    for (let i = 0; i < pixels.length; ++i) pixels[i] = (i % side * 7 + Math.floor(i / side) * 3) % 4096;
    parts.push(element(2, 0, 'UL', length), meta, text(8, 0x16, 'UI', '1.2.840.10008.5.1.4.1.1.2'),
               text(8, 0x18, 'UI', uid), text(8, 0x60, 'CS', 'CT'), text(0x20, 0xD, 'UI', `${uid}2`),
               text(0x20, 0xE, 'UI', `${uid}3`), word(0x28, 2, 1), text(0x28, 4, 'CS', 'MONOCHROME2'),
               text(0x28, 8, 'IS', frames), word(0x28, 0x10, side), word(0x28, 0x11, side),
               word(0x28, 0x100, 16), word(0x28, 0x101, 12), word(0x28, 0x102, 11), word(0x28, 0x103, 0),
               text(0x28, 0x1052, 'DS', -1024), text(0x28, 0x1053, 'DS', 1),
               element(0x7FE0, 0x10, 'OW', Buffer.from(pixels.buffer)));
    const path = join(folder, `${name}.dcm`);
    writeFileSync(path, Buffer.concat(parts));
    return path;
}

/** The program with its page in a browser. `options` are those of the browser's context. */
export async function open(paths, { save, args = [], flags = [], init, ...options } = {}) {
    const view = ['view', ...paths, '--no-browser', ...(save ? ['--save-dir', save] : []), ...args];
    const server = spawn(kProgram, view, { stdio: ['ignore', 'pipe', 'inherit'] });
    const address = await new Promise((resolve, reject) => {
        server.stdout.once('data', (data) => resolve(String(data).split('\n')[0]));
        server.once('exit', (code) => reject(new Error(`zev view ended with ${code}`)));
    });
    const browser = await chromium.launch({ executablePath: process.env.ZEV_CHROMIUM, args: [...kFlags, ...flags] });
    const context = await browser.newContext({ viewport: { width: 1100, height: 760 }, colorScheme: 'dark', ...options });
    const page = await context.newPage();
    if (init) await page.addInitScript(init);
    const faults = [];
    page.on('pageerror', (error) => faults.push(error.message));
    let running = 0, last = Date.now();
    const count = (by) => () => { running += by; last = Date.now(); };
    page.on('request', count(1));
    for (const end of ['requestfinished', 'requestfailed']) page.on(end, count(-1));
    /** Nothing is asked for any more, and what came has been drawn. */
    const settle = async () => {
        last = Date.now();
        for (const started = last; running > 0 || Date.now() - last < kQuiet;) {
            if (Date.now() - started > 60000) throw new Error(`${running} requests do not end`);
            await new Promise((resolve) => setTimeout(resolve, 20));
        }
        await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(() => requestAnimationFrame(resolve))));
    };
    await page.goto(address);
    await page.waitForSelector(at.image);
    await page.waitForFunction((name) => document.querySelector(name).textContent !== '', at.name);
    await settle();
    const show = async (name) => { await page.click(at.thumb(name)); await settle(); };
    const type = async (where, value) => { await page.fill(where, String(value)); await page.press(where, 'Enter'); await settle(); };
    const press = async (...keys) => { for (const key of keys) await page.keyboard.press(key); await settle(); };
    const click = async (where) => { await page.click(where); await settle(); };
    /** From one point of the image's canvas to another, in CSS pixels. */
    const drag = async (from, to, button = 'left') => {
        const box = await page.locator(at.image).boundingBox();
        await page.mouse.move(box.x + from[0], box.y + from[1]);
        await page.mouse.down({ button });
        await page.mouse.move(box.x + to[0], box.y + to[1], { steps: 5 });
        await page.mouse.up({ button });
        await settle();
    };
    const end = async () => {
        await browser.close();
        const ended = new Promise((resolve) => { server.once('exit', resolve); });
        if (server.exitCode === null && server.signalCode === null) { server.kill('SIGINT'); await ended; }
    };
    return { page, browser, server, address, faults, settle, show, type, press, click, drag, end };
}

/** Red, green and blue of all pixels of the active image, with what lies on it. */
export async function shown(page) {
    const { width, height, data } = await page.evaluate(([image, layers]) => {
        const canvas = document.querySelector(image), both = document.createElement('canvas');
        [both.width, both.height] = [canvas.width, canvas.height];
        const context = both.getContext('2d');
        context.drawImage(canvas, 0, 0);
        context.drawImage(document.querySelector(layers), 0, 0);
        const { data } = context.getImageData(0, 0, both.width, both.height);
        let text = '';
        for (let i = 0; i < data.length; i += 4) text += String.fromCharCode(data[i], data[i + 1], data[i + 2]);
        return { width: both.width, height: both.height, data: btoa(text) };
    }, [at.image, at.layers]);
    return { width, height, bytes: Buffer.from(data, 'base64') };
}

/** The same by `zev render`, one to one, on a screen of this size; turned: width and height change places. */
export function rendered(path, args, { width, height }, isTurned = false) {
    const { rows, columns, pixelSpacing } = JSON.parse(zev('info', '--json', path));
    const ratio = pixelSpacing ? pixelSpacing[0] / pixelSpacing[1] : 1;
    const size = [columns * Math.max(1, 1 / ratio), rows * Math.max(1, ratio)];
    if (isTurned) size.reverse();
    // The page puts the corner of the image onto a whole pixel.
    const pan = [width, height].map((side, i) => Math.round((side - size[i]) / 2) - (side - size[i]) / 2);
    const out = join(folder, 'rendered.ppm');
    zev('render', path, '-o', out, '--zoom', '1', '--size', `${width}x${height}`, '--pan', ...pan.map(String), ...args);
    const file = readFileSync(out), head = /^P6\s+(\d+)\s+(\d+)\s+255\s/.exec(file.toString('latin1', 0, 40));
    return { width: Number(head[1]), height: Number(head[2]), bytes: file.subarray(head[0].length) };
}

/** How many pixels differ, and where the first one is. */
export function difference(a, b) {
    if (a.width !== b.width || a.height !== b.height) return `${a.width}x${a.height}, ${b.width}x${b.height}`;
    let count = 0, first = '';
    for (let i = 0; i < a.bytes.length; i += 3) {
        if (a.bytes.compare(b.bytes, i, i + 3, i, i + 3) === 0) continue;
        const pixel = i / 3;
        if (!count++) first = ` from ${pixel % a.width},${Math.floor(pixel / a.width)}: ${[...a.bytes.subarray(i, i + 3)]} is not ${[...b.bytes.subarray(i, i + 3)]}`;
    }
    return count ? `${count} pixels${first}` : '';
}

/** The serious faults of accessibility that axe finds. */
export async function axeFaults(page) {
    await page.evaluate(readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8'));
    const { violations } = await page.evaluate(() => globalThis.axe.run());
    return violations.filter(({ impact }) => impact === 'serious' || impact === 'critical')
        .map(({ id, nodes }) => `${id}: ${nodes.map((node) => node.html).slice(0, 3).join(' | ')}`);
}
