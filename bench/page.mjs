// Milliseconds from the event of a drag to the painted frame of zev view, at three sizes, in headless Chromium:
// scripts/bench.sh page. The baselines of the same run: a drag that moves the image, which needs no table, and a
// request for the table alone.
import { makeImage, open } from '../tests/web/browser/harness.mjs';

const kSteps = 80, kWarm = 10;

/** Notes when events arrive and when what follows is painted. Runs in the page, before it. */
function watch() {
    const noted = { event: 0, isNew: false, sent: 0, done: [] };
    globalThis.noted = noted;
    addEventListener('pointermove', () => { noted.event = performance.now(); noted.isNew = false; }, true);
    const gl = WebGL2RenderingContext.prototype, { texImage3D, drawArrays } = gl;
    gl.texImage3D = function (...given) { noted.isNew = true; texImage3D.apply(this, given); };
    gl.drawArrays = function (...given) {
        drawArrays.apply(this, given);
        // Waits for the pixels.
        this.readPixels(0, 0, 1, 1, this.RGBA, this.UNSIGNED_BYTE, new Uint8Array(4));
        if (noted.event) noted.done.push({ took: performance.now() - noted.event, isNew: noted.isNew });
    };
    const { fetch } = globalThis;
    globalThis.fetch = async (...given) => {
        const answer = await fetch(...given);
        if (String(given[0]).endsWith('api/table')) {
            const buffer = await answer.arrayBuffer();
            noted.sent = buffer.byteLength;
            noted.request = given;
            return new Response(buffer, answer);
        }
        return answer;
    };
}

const sorted = (values) => values.slice(kWarm).sort((a, b) => a - b);
const middle = (values) => sorted(values)[(values.length - kWarm) >> 1];
const slowest = (values) => sorted(values)[Math.floor((values.length - kWarm) * 0.95)];

for (const side of [512, 2048, 4096]) {
    const p = await open([makeImage(`bench-${side}`, side)], { init: watch, viewport: { width: 1600, height: 1000 } });
    const { page } = p, box = await page.locator('#image').boundingBox();
    /** @param {string} button @param {boolean} isNew waits for a new table */
    const drag = async (button, isNew) => {
        await page.mouse.move(box.x + 300, box.y + 300);
        await page.mouse.down({ button });
        const took = [];
        for (let i = 0; i < kSteps; ++i) {
            await page.evaluate(() => { globalThis.noted.done = []; });
            await page.mouse.move(box.x + 300 + i * 3, box.y + 300 + i % 7 * 5);
            await page.waitForFunction((isNew) => globalThis.noted.done.some((one) => one.isNew || !isNew), isNew);
            took.push(await page.evaluate((isNew) =>
                globalThis.noted.done.find((one) => one.isNew || !isNew).took, isNew));
        }
        await page.mouse.up({ button });
        await p.settle();
        return took;
    };
    const moved = await drag('middle', false), windowed = await drag('left', true);
    const asked = await page.evaluate(async (count) => {
        const took = [];
        for (let i = 0; i < count; ++i) {
            const start = performance.now();
            await (await fetch(...globalThis.noted.request)).arrayBuffer();
            took.push(performance.now() - start);
        }
        return took;
    }, kSteps);
    const bytes = await page.evaluate(() => globalThis.noted.sent);
    const show = (values) => `${middle(values).toFixed(1)} ms (95 %: ${slowest(values).toFixed(1)})`;
    console.log(`${side} x ${side}: window ${show(windowed)}, ${bytes} bytes a step; image moved ${show(moved)}, ` +
                `ratio ${(middle(windowed) / middle(moved)).toFixed(2)}; table alone ${show(asked)}, ` +
                `ratio ${(middle(windowed) / middle(asked)).toFixed(2)}`);
    await p.end();
}
