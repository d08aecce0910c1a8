// The picture of the README: a CT and an MR side by side with regions, from the built-in samples.
import { writeFileSync } from 'node:fs';
import { at, open, samples } from '../tests/web/browser/harness.mjs';

const p = await open([samples], { viewport: { width: 1080, height: 660 } });
await p.show('ct');
await p.click(at.tool('panes-2'));
await p.click(at.tool('ellipse'));
await p.drag([70, 235], [170, 390]);
await p.click(at.preset('Lung'));
await p.click('.pane[data-active=false] canvas.image');
await p.show('pt');
await p.click(at.map('Hot Iron'));
await p.page.locator('.pane canvas.image').first().focus();
await p.page.locator('#panel').evaluate((panel) => { panel.scrollTop = 0; });
await p.page.mouse.move(380, 360);
await p.settle();
writeFileSync(process.argv[2], await p.page.screenshot());
await p.end();
