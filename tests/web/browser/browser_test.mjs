// The page of zev view in Chromium: run.sh.
import assert from 'node:assert/strict';
import { copyFileSync, mkdirSync, readFileSync, readdirSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { test } from 'node:test';
import { at, axeFaults, difference, folder, makeImage, open, realImages, rendered, samples, shown, zev } from './harness.mjs';

const sample = (name) => join(samples, `${name}.dcm`);
const kState = sample('ct-state');

/** What is done on the page, and the options of `zev render` that lead to the same. */
const kSets = [
    ['ct', 'numbers', async (p) => { await p.type(at.center, 40); await p.type(at.width, 80); }, ['--center', '40', '--width', '80']],
    ['ct', 'a width of 1', async (p) => { await p.type(at.center, 300); await p.type(at.width, 1); }, ['--center', '300', '--width', '1']],
    ['ct', 'a preset by its button', (p) => p.click(at.preset('Bone')), ['--preset', 'Bone']],
    ['ct', 'a preset by its key', (p) => p.press('6'), ['--preset', 'Lung']],
    ['ct', 'the entry of the image', async (p) => { await p.press('6'); await p.click(at.entry(0)); }, ['--voi', '0']],
    ['ct', 'automatic', (p) => p.press('a'), ['--auto']],
    ['ct', 'gamma', (p) => p.type(at.gamma, 1.5), ['--gamma', '1.5']],
    ['ct', 'inverted', (p) => p.press('i'), ['--invert']],
    ['ct', 'a colour map', (p) => p.click(at.map('Hot Iron')), ['--colormap', 'Hot Iron']],
    ['ct', 'all of it', async (p) => { await p.click(at.map('PET 20 Step')); await p.press('4', 'i'); await p.type(at.gamma, 0.5); },
     ['--colormap', 'PET 20 Step', '--preset', 'Bone', '--invert', '--gamma', '0.5']],
    ['ct', 'turned', (p) => p.press('r'), ['--rotate', '90'], true],
    ['ct', 'flipped', (p) => p.press('f'), ['--flip', 'h']],
    ['ct', 'turned, then flipped', (p) => p.press('r', 'f'), ['--rotate', '270', '--flip', 'h'], true],
    ['ct', 'a presentation state', async (p) => { await p.page.selectOption(at.state, { index: 1 }); await p.settle(); },
     ['--gsps', kState], true],
    ['ct', 'and a window over it', async (p) => { await p.page.selectOption(at.state, { index: 1 }); await p.settle(); await p.press('4'); },
     ['--gsps', kState, '--preset', 'Bone'], true],
    ['mr-overlay', 'without overlays', (p) => p.click(at.overlays), ['--no-overlays']],
    ['mr-overlay', 'a window under overlays', async (p) => { await p.type(at.center, 500); await p.type(at.width, 300); },
     ['--center', '500', '--width', '300']],
    ['mr', 'gamma, inverted', async (p) => { await p.type(at.gamma, 2); await p.click(at.tool('invert')); }, ['--gamma', '2', '--invert']],
    ['pt', 'SUV', (p) => p.press('1'), ['--preset', 'SUV 0-5']],
    ['pt', 'SUV in colour', async (p) => { await p.press('1'); await p.click(at.map('PET 20 Step')); },
     ['--preset', 'SUV 0-5', '--colormap', 'PET 20 Step']],
    ['adc', 'fractions', async (p) => { await p.type(at.center, 0.0007); await p.type(at.width, 0.0003); }, ['--center', '0.0007', '--width', '0.0003']],
    ['cr', 'inverted', async (p) => { await p.type(at.width, 1000); await p.click(at.tool('invert')); }, ['--center', '2048', '--width', '1000', '--invert']],
    ['nm', 'automatic in colour', async (p) => { await p.press('a'); await p.click(at.map('Hot Iron')); }, ['--auto', '--colormap', 'Hot Iron']],
    ['xa', 'gamma', (p) => p.type(at.gamma, 0.7), ['--gamma', '0.7']],
];

/** To one to one, with the controls at rest. */
const oneToOne = (p) => p.click(at.tool('one'));

async function check(p, path, name, args, isTurned) {
    const screen = await shown(p.page);
    assert.equal(difference(screen, rendered(path, args, screen, isTurned)), '', `${path}, ${name}`);
}

for (const [kind, options, step] of [['by WebGL', {}, 1], ['at 125 %', { deviceScaleFactor: 1.25 }, 5],
                                     ['without WebGL', { flags: ['--disable-3d-apis'] }, 4]]) {
    test(`what is shown one to one is what is rendered, ${kind}`, async (t) => {
        const p = await open([samples], options);
        t.after(p.end);
        for (const [i, [name, what, act, args, isTurned]] of kSets.entries()) {
            if (i % step) continue;
            await p.show(name);
            await p.press('0');
            await act(p);
            await oneToOne(p);
            await check(p, sample(name), what, args, isTurned);
            if (what === 'without overlays') await p.click(at.overlays);
            if (args.includes('--gsps')) { await p.page.selectOption(at.state, { index: 0 }); await p.settle(); }
        }
        for (const name of readdirSync(samples).filter((file) => file !== 'ct-state.dcm')) {
            await p.show(name.replace('.dcm', ''));
            await p.press('0');
            await oneToOne(p);
            await check(p, join(samples, name), 'as it opens', name === 'ct.dcm' ? ['--voi', '0'] : []);
        }
        assert.deepEqual(p.faults, []);
    });
}

test('real images are shown as they are rendered', async (t) => {
    const paths = realImages(4);
    if (!paths.length) return t.skip('there are none');
    const p = await open(paths);
    t.after(p.end);
    for (const path of paths) {
        await p.show(path.split('/').pop().replace('.dcm', ''));
        await oneToOne(p);
        await check(p, path, 'as it opens', []);
    }
});

test('regions are drawn, changed, listed, saved', async (t) => {
    const save = join(folder, 'saved');
    mkdirSync(save);
    const p = await open([sample('ct')], { save, viewport: { width: 1400, height: 900 } });
    t.after(p.end);
    await oneToOne(p);
    const { page } = p, shape = () => page.inputValue(at.regionField('shape'));
    await p.click(at.tool('rect'));
    await p.drag([250, 200], [400, 330]);
    const first = await shape();
    assert.match(first, /^rect:/);
    await p.press('6');
    await check(p, sample('ct'), 'a rectangle with a preset', ['--region', `${first};preset=Lung`]);

    await p.drag([300, 250], [320, 240]);
    const [x, y] = first.slice(5).split(',').map(Number);
    assert.ok((await shape()).startsWith(`rect:${x + 20},${y - 10},`), 'moved with the mouse');
    await p.drag([420, 320], [450, 400]);
    await page.locator(at.image).focus();
    await p.press(']', 'ArrowRight', 'Escape');
    const second = await shape();
    assert.ok(second !== first && second.startsWith(`rect:${x + 21},`), 'a corner with the mouse, another by keys');
    await check(p, sample('ct'), 'moved', ['--region', `${second};preset=Lung`]);

    await p.click(at.tool('polygon'));
    const box = await page.locator(at.image).boundingBox();
    for (const [px, py] of [[380, 300], [560, 310], [550, 480], [390, 470]]) {
        await page.mouse.click(box.x + px, box.y + py);
        await page.waitForTimeout(400);  // not a double click
    }
    await p.press('Enter');
    assert.equal((await shape()).split(' ').length, 4);
    await page.mouse.dblclick(box.x + 470, box.y + 305);
    await p.settle();
    assert.equal((await shape()).split(' ').length, 5, 'a corner more');
    await p.type(at.regionField('center'), -600);
    await p.type(at.regionField('width'), 500);
    const args = ['--region', `${second};preset=Lung`, '--region', `${await shape()};center=-600;width=500`];
    await check(p, sample('ct'), 'a polygon over it', args);
    await page.click(`${at.regions}.selected button[data-key^=down]`);
    await p.settle();
    await check(p, sample('ct'), 'below it', [...args.slice(2), ...args.slice(0, 2)]);

    const screen = await shown(page);
    await p.click(at.save('picture'));
    await p.click(at.save('parameters'));
    assert.match(await page.textContent(at.saved), /Saved as ct-parameters.dcm/);
    const again = rendered(sample('ct'), ['--ddp', join(save, 'ct-parameters.dcm')], screen);
    assert.equal(difference(screen, again), '', 'the display parameters hold all of it');
    await p.click(at.save('state'));
    assert.match(await page.textContent(at.saved), /cannot hold/, 'a presentation state has no regions');
    await page.locator(at.image).focus();
    await p.press('Delete');
    assert.equal(await page.locator(at.regions).count(), 1);
    await p.press('i', 'r');
    assert.equal((await p.page.evaluate(() => document.querySelectorAll('#regions li.selected').length)), 0);
    await page.click(`${at.regions} button[data-key^=delete]`);
    await p.settle();
    await p.click(at.save('state'));
    const turned = await shown(page);
    assert.equal(difference(turned, rendered(sample('ct'), ['--gsps', join(save, 'ct-state.dcm')], turned, true)), '');
    // The picture that was saved is what was on the screen.
    const picture = await page.evaluate(async (text) => {
        const bitmap = await createImageBitmap(new Blob([Uint8Array.from(atob(text), (c) => c.charCodeAt(0))]));
        const canvas = document.createElement('canvas');
        [canvas.width, canvas.height] = [bitmap.width, bitmap.height];
        const context = canvas.getContext('2d');
        context.drawImage(bitmap, 0, 0);
        return [bitmap.width, bitmap.height, ...context.getImageData(0, 0, bitmap.width, bitmap.height).data];
    }, readFileSync(join(save, 'ct.png')).toString('base64'));
    const bytes = Buffer.from(picture.slice(2).filter((_, i) => i % 4 !== 3));
    assert.equal(difference(screen, { width: picture[0], height: picture[1], bytes }), '');
    assert.deepEqual(p.faults, []);
});

test('mouse, wheel, panes and the probe', async (t) => {
    const many = makeImage('many', 64, 12), broken = join(folder, 'broken.dcm');
    writeFileSync(broken, readFileSync(sample('ct')).subarray(0, 3000));
    const p = await open([sample('ct'), sample('mr'), sample('mr-overlay'), many, broken]);
    t.after(p.end);
    const { page } = p, read = async () => [Number(await page.inputValue(at.center)), Number(await page.inputValue(at.width))];
    assert.equal(await page.locator(at.broken).count(), 1, 'one entry in red, the others work');
    await p.show('ct');
    const [center, width] = await read();
    await p.drag([200, 200], [240, 180]);
    const [higher, wider] = await read();
    assert.ok(higher > center && wider > width, 'up: a higher centre, right: a greater width');
    const zoom = () => page.textContent('#status .zoom');
    const fitted = await zoom();
    await p.drag([200, 200], [200, 120], 'right');
    assert.notEqual(await zoom(), fitted);
    const box = await page.locator(at.image).boundingBox();
    await page.mouse.dblclick(box.x + 200, box.y + 200);
    await p.settle();
    assert.equal(await zoom(), fitted);

    await p.show('many');
    await page.mouse.move(box.x + 200, box.y + 200);
    for (let i = 0; i < 3; ++i) { await page.mouse.wheel(0, 100); await p.settle(); }
    assert.match(await page.textContent(at.place), /^Frame 4 of 12/);

    await p.show('ct');
    await p.press('p');
    await page.mouse.click(box.x + 300, box.y + 300);
    await p.settle();
    assert.ok(await page.locator(at.trace).count() > 5, 'the pixel is explained');

    await p.show('mr');
    await p.press('w', 'g');
    assert.equal(await page.locator('.pane:visible').count(), 2);
    await page.click('.pane[data-active=false] canvas.image', { position: { x: 100, y: 100 } });
    await p.show('mr-overlay');
    await p.press('l');
    await p.type(at.center, 321);
    const texts = await page.locator('.pane:visible .numbers').allTextContents();
    assert.ok(texts.length === 2 && texts.every((text) => text.includes('C 321')), texts.join('; '));
    assert.deepEqual(p.faults, []);

    p.server.kill('SIGKILL');
    await p.click(at.tool('invert'));
    assert.match(await page.textContent(at.fault), /does not answer/);
});

test('by the keyboard alone', async (t) => {
    const p = await open([sample('ct'), sample('mr')]);
    t.after(p.end);
    const { page } = p, seen = [];
    for (let i = 0; i < 90; ++i) {
        await page.keyboard.press('Tab');
        const { key, hasRing } = await page.evaluate(() => {
            const one = document.activeElement, style = getComputedStyle(one);
            const key = one.dataset.do ?? (one.closest('#strip') ? 'strip image' : one.id || one.ariaLabel || one.value || one.textContent);
            return { key, hasRing: one === document.body || style.outlineStyle !== 'none' };
        });
        assert.ok(hasRing, `the focus is seen on ${key}`);
        seen.push(key);
        if (key === 'body' || seen.indexOf(key) < seen.length - 40) break;
    }
    for (const wanted of ['window', 'polygon', 'auto', 'plus', 'panes-4', 'reset', 'help', 'strip image', 'image', 'center', 'width',
                          'Lower end of the window', 'gamma', 'invert'])
        assert.ok(seen.includes(wanted), `${wanted} is reached: ${seen.join(', ')}`);
    await page.locator(at.image).focus();
    await p.press('ArrowDown');
    assert.match(await page.textContent(at.name), /mr/);
    await page.keyboard.press('?');
    await page.waitForSelector(`${at.help}[open]`);
    await page.keyboard.press('Escape');
    await page.waitForSelector(`${at.help}:not([open])`, { state: 'attached' });
    assert.equal(await page.evaluate(() => document.activeElement.id), 'image', 'the focus is back');
    await page.focus(at.tool('rect'));
    await p.press('Enter');
    await page.locator(at.image).focus();
    await p.press('Enter', 'ArrowRight', 'Shift+ArrowUp');
    assert.equal(await page.locator(at.regions).count(), 1);
    assert.equal(await page.locator('#regions li.selected').count(), 1, 'a region by keys');
    await p.press('Escape', 'Escape', 'p', 'ArrowLeft', 'Enter');
    assert.ok(await page.locator(at.trace).count() > 5);
    assert.deepEqual(p.faults, []);
});

test('no serious fault of accessibility', async (t) => {
    for (const [name, options] of [['dark', {}], ['light', { colorScheme: 'light' }],
                                   ['narrow', { colorScheme: 'light', viewport: { width: 360, height: 740 }, hasTouch: true }]]) {
        const p = await open([samples], options);
        t.after(p.end);
        assert.deepEqual(await axeFaults(p.page), [], name);
        if (name === 'narrow') {
            await p.click(at.tool('more'));
            const box = await p.page.locator('#tools').boundingBox();
            for (const tool of await p.page.locator('#tools button:visible').all()) {
                const { x, width, height } = await tool.boundingBox();
                assert.ok(x >= 0 && x + width <= box.width && Math.min(width, height) >= 30, await tool.getAttribute('data-do'));
            }
            await p.click(at.tool('panel'));
        } else {
            await p.show('ct');
            await p.press('g', 'g');
            await p.click(at.tool('ellipse'));
            await p.drag([60, 60], [160, 160]);
        }
        assert.deepEqual(await axeFaults(p.page), [], `${name}, in use`);
        await p.press('?');
        assert.deepEqual(await axeFaults(p.page), [], `${name}, help`);
        await p.end();
    }
});

test('a thousand frames do not fill the memory', async (t) => {
    const p = await open([makeImage('thousand', 256, 1000)]);
    t.after(p.end);
    const client = await p.page.context().newCDPSession(p.page);
    const used = async () => {
        await client.send('HeapProfiler.collectGarbage');
        const { usedSize, embedderHeapUsedSize = 0, backingStorageSize = 0 } = await client.send('Runtime.getHeapUsage');
        const [, pages] = readFileSync(`/proc/${p.server.pid}/statm`, 'utf8').split(' ');
        return { page: (usedSize + embedderHeapUsedSize + backingStorageSize) / 2 ** 20, server: Number(pages) * 4096 / 2 ** 20 };
    };
    const go = async (to) => {
        for (let frame = Number((await p.page.textContent(at.place)).split(' ')[1]); frame < to;) {
            await p.page.keyboard.press('ArrowRight');
            frame += 1;
            await p.page.waitForFunction(([where, text]) => document.querySelector(where).textContent.startsWith(text),
                                         [at.place, `Frame ${frame} of`]);
        }
    };
    await p.page.locator(at.image).focus();
    await go(200);
    const before = await used();
    await go(1000);
    const after = await used();
    t.diagnostic(`MiB at frames 200 and 1000: page ${before.page.toFixed(1)}, ${after.page.toFixed(1)}; ` +
                 `server ${before.server.toFixed(1)}, ${after.server.toFixed(1)}`);
    // Frames of 128 KiB: 800 of them would be 100 MiB, and 256 MiB are kept at most.
    assert.ok(after.page < before.page + 130 && after.page < 300, 'the page');
    assert.ok(after.server < before.server + 40, 'the program');
});
