// End-to-end test of the device simulator in a real browser: Debian's
// Chromium driven by playwright-core. scripts/browser_test.sh starts the
// simulator and runs this file with:
//   SIM_URL        http://127.0.0.1:PORT of the simulator
//   SIM_ROOT       its device root (host path)
//   NXCONF         the nxconf tool
//   ARTIFACTS_DIR  where the screenshots go
import { after, before, describe, test } from "node:test";
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import fs from "node:fs";
import os from "node:os";
import path from "node:path";
import { chromium } from "playwright-core";

const base = process.env.SIM_URL;
const root = process.env.SIM_ROOT;
const nxconf = process.env.NXCONF;
const artifacts = process.env.ARTIFACTS_DIR || "artifacts";
const journalPath = path.join(root || "", "var/log/device.journal");

const PAGES = ["index", "mail", "ftp", "services", "condition", "buffers", "ptz", "sensor", "serial", "camera",
  "product", "maint", "device"];

const journalLines = () => fs.readFileSync(journalPath, "utf8").split("\n").filter(Boolean);

// Journal lines are "<UTC time stamp> <event>"; the events since a mark.
function eventsSince(mark) {
  return journalLines().slice(mark).map((line) => {
    assert.match(line, /^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{6}Z /, `time stamp of "${line}"`);
    return line.slice(line.indexOf(" ") + 1);
  });
}

function dump(deviceFile) {
  const host = path.join(root, "opt/vsb/etc/NxConf", deviceFile);
  return JSON.parse(execFileSync(nxconf, ["dump", host], { encoding: "utf8" }));
}

describe("device simulator in Chromium", () => {
  let context, page, userData;
  let shot = 0;
  const pageErrors = [];

  const screenshot = (name) =>
    page.screenshot({ path: path.join(artifacts, `${String(++shot).padStart(2, "0")}-${name}.png`), fullPage: true });
  const ready = () => page.waitForSelector('body[data-ready="1"]');
  // Opens a page of the simulator and waits for its forms.
  const open = async (name) => {
    await page.goto(`${base}/${name}`);
    await ready();
  };
  // Submits a form whose answer is a page, and waits for it.
  const submit = async (form, cgi) => {
    await Promise.all([page.waitForURL(`**/cgi-bin/${cgi}`), form.locator('button[type="submit"]').click()]);
    await ready();
  };

  before(async () => {
    assert.ok(base && root && nxconf, "SIM_URL, SIM_ROOT and NXCONF must be set");
    fs.mkdirSync(artifacts, { recursive: true });
    userData = fs.mkdtempSync(path.join(os.tmpdir(), "nxcgi-chromium-"));
    context = await chromium.launchPersistentContext(userData, {
      executablePath: "/usr/bin/chromium",
      headless: true,
      args: ["--no-sandbox", "--disable-gpu", "--disable-background-networking", "--disable-component-update",
        "--disable-sync", "--no-first-run"],
      viewport: { width: 1200, height: 900 },
    });
    page = context.pages()[0] || (await context.newPage());
    page.on("pageerror", (error) => pageErrors.push(`${page.url()}: ${error.message}`));
  });

  after(async () => {
    await context?.close();
    if (userData) fs.rmSync(userData, { recursive: true, force: true });
  });

  test("a mail port setting reaches MailConf.bin and runs the save command", async () => {
    await open("mail.html");
    await page.selectOption("#pick-module", "1");
    await ready();
    await page.selectOption("#pick-port", "2");
    await ready();
    const form = page.locator("#nxmailsvcport");
    await form.locator('[name="ImageCount"]').fill("7");
    await form.locator('[name="Subject"]').fill("Gate 2 alarm");
    const mark = journalLines().length;
    await submit(form, "nxmailsvcport.cgi");
    await screenshot("mail-answer");

    // The answer is the mail page with the ids the device injected.
    assert.equal(await page.locator("#answer").textContent(), "Answer of the device: NXMODID = 1, PORTID = 2");
    assert.equal(await form.locator('[name="ImageCount"]').inputValue(), "7");

    const mail = dump("NxModId1/MailConf.bin").fields;
    assert.deepEqual([mail.Port2.ImageCount, mail.Port2.Subject, mail.Port1.ImageCount], [7, "Gate 2 alarm", 0]);
    assert.equal(dump("NxModId0/MailConf.bin").fields.Port2.Subject, "");

    assert.deepEqual(eventsSince(mark), ["/usr/sbin/savecfg"]);
  });

  test("a failing form shows the device's alert", async () => {
    await open("mail.html");
    const form = page.locator("#nxmailsvcport");
    await form.locator('[name="NxCgiVer"]').fill("2");
    await form.locator('[name="Subject"]').fill("never stored");
    const mark = journalLines().length;
    // The alert blocks the page until it is answered: answer it at once.
    const alert = new Promise((resolve) => {
      page.once("dialog", async (dialog) => {
        resolve({ type: dialog.type(), message: dialog.message() });
        await dialog.accept();
      });
    });
    await form.locator('button[type="submit"]').click();
    assert.deepEqual(await alert, { type: "alert", message: "nxmailsvcport.cgi Cgi Func:[] return ERROR!!!" });
    // The error page sends the browser back to the form.
    await page.waitForURL("**/mail.html");
    await ready();
    assert.equal(dump("NxModId1/MailConf.bin").fields.Port2.Subject, "Gate 2 alarm");
    assert.deepEqual(eventsSince(mark), []);
  });

  test("serial data sent through nxuoutctr.cgi comes back as RXDATA", async () => {
    await open("serial.html");
    const form = page.locator("#nxuoutctr");
    await form.locator('[name="Length"]').fill("3");
    await form.locator('[name="Data"]').fill("0x4e,X,55");
    const mark = journalLines().length;
    await form.locator('button[type="submit"]').click();
    const answer = page.locator("#nxuoutctr-answer");
    await answer.filter({ hasText: "RXDATA" }).waitFor();
    await screenshot("serial-answer");
    assert.equal(await answer.textContent(), "HTTP 200\n\nRXLENGTH=3\nRXDATA=0x4e,0x58,0x37;\n");
    const events = eventsSince(mark);
    assert.ok(events.some((e) => /^uartsvc: request .* transmit 3 bytes 0x4e,0x58,0x37$/.test(e)), events.join("\n"));
    assert.ok(events.some((e) => /^uartsvc: replied on queue \d+: received 3 bytes 0x4e,0x58,0x37$/.test(e)), events.join("\n"));
  });

  test("nxptzset.cgi restarts the serial service and signals the camera control daemon", async () => {
    await open("ptz.html");
    const form = page.locator("#nxptzset");
    await form.locator('[name="PtzBaseAddr0"]').fill("3");
    const mark = journalLines().length;
    await submit(form, "nxptzset.cgi");
    await screenshot("ptz-answer");
    assert.equal(dump("PtzConf.bin").fields.Module0.PtzBaseAddr, 3);
    assert.equal(fs.readFileSync(path.join(root, "tmp/ChkPtzConfChg"), "utf8"), "3\n");
    // The daemon journals its signal by itself, so its line may come later
    // than the commands of the request: wait for it, up to a minute.
    const signalLine = "nxcamctld: received signal 12 (SIGUSR2)";
    for (let i = 0; i < 600 && !eventsSince(mark).includes(signalLine); ++i) await page.waitForTimeout(100);
    const events = eventsSince(mark);
    assert.deepEqual(events.filter((e) => e !== signalLine), ["/etc/init.d/uartsvc restart", "/usr/sbin/savecfg"]);
    assert.equal(events.filter((e) => e === signalLine).length, 1);
  });

  test("every page renders its forms without script errors", async () => {
    let forms = 0;
    for (const name of PAGES) {
      await page.goto(`${base}/${name}.html`);
      if (name !== "device") await ready();
      forms += await page.locator("form button[type=submit]").count();
      await screenshot(`page-${name}`);
    }
    assert.ok(forms >= 37, `${forms} forms`);
    assert.deepEqual(pageErrors, []);
  });
});
