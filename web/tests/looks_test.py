# SPDX-License-Identifier: Apache-2.0
"""What the page looks like, for eyes, screen readers and old browsers, in headless Chromium. Pictures of it go to
build/web/pictures."""
import base64
import shutil
import time

import browser
from selenium.webdriver import ActionChains, Keys

WIDTHS = {"wide": 1280, "narrow": 360}
SCHEMES = ("light", "dark")
LEAST_CONTRAST = 3  # of what shows where a control is, as WCAG 2.1 has it

# Text that its box cuts off, labels that leave or cover each other in the picture, and content wider than the page.
CUT_LABELS = """
const cut = [];
if (document.documentElement.scrollWidth > innerWidth) cut.push("the page is wider than the window");
for (const element of document.querySelectorAll("h1, h2, p, label, legend, button, select, span, output, dt, dd")) {
  if (element.getClientRects().length && element.scrollWidth > element.clientWidth + 1 && element.clientWidth) {
    cut.push(element.textContent.trim().slice(0, 60));
  }
  const box = element.getBoundingClientRect();
  if (box.width && (box.left < -1 || box.right > innerWidth + 1)) cut.push("outside: " + element.textContent.slice(0, 60));
}
const pen = document.createElement("canvas").getContext("2d");
for (const select of document.querySelectorAll("select")) {
  if (!select.clientWidth) continue;
  pen.font = getComputedStyle(select).font;
  for (const { text } of select.options) {
    if (pen.measureText(text).width > select.clientWidth - 45) cut.push("choice: " + text);  // padding and arrow
  }
}
const frame = document.querySelector("#view").getBoundingClientRect();
const labels = [...document.querySelectorAll("#view text")].map(label => [label.textContent, label.getBoundingClientRect()]);
labels.forEach(([text, a], i) => {
  if (a.left < frame.left || a.right > frame.right || a.top < frame.top || a.bottom > frame.bottom) cut.push("leaves the picture: " + text);
  for (const [other, b] of labels.slice(i + 1)) {
    const width = Math.min(a.right, b.right) - Math.max(a.left, b.left);
    const height = Math.min(a.bottom, b.bottom) - Math.max(a.top, b.top);
    if (width > 1 && height > 3) cut.push(text + " covers " + other);
  }
});
return cut;
"""

# The contrast between the edges of controls and what is behind them.
EDGE_CONTRAST = """
const luminance = color => {
  const linear = color.match(/[\\d.]+/g).slice(0, 3).map(part => {
    const share = part / 255;
    return share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
  });
  return 0.2126 * linear[0] + 0.7152 * linear[1] + 0.0722 * linear[2];
};
const panel = luminance(getComputedStyle(document.querySelector(".panel")).backgroundColor);
return [...document.querySelectorAll(".drop, button:not(.primary), select, .choice > div")].map(control => {
  const [darker, lighter] = [panel, luminance(getComputedStyle(control).borderTopColor)].sort((a, b) => a - b);
  return (lighter + 0.05) / (darker + 0.05);
});
"""


class LooksTest(browser.BrowserTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        (browser.WORK / "pictures").mkdir(parents=True, exist_ok=True)

    def show_as(self, scheme, width):
        feature = {"name": "prefers-color-scheme", "value": scheme}
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [feature]})
        metrics = {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False}
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", metrics)

    def show_as_usual(self):
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})
        self.driver.execute_cdp_cmd("Emulation.clearDeviceMetricsOverride", {})

    def test_pages_cut_nothing_off(self):
        self.addCleanup(self.show_as_usual)
        self.open()
        self.play("orchestra")
        self.script("orvaneHead.set({ yaw: 130, pitch: -20, roll: 10 })")
        time.sleep(1.5)
        looks = [(scheme, name, width) for scheme in SCHEMES for name, width in WIDTHS.items()]
        for scheme, name, width in looks:
            self.show_as(scheme, width)
            for detail in ("", "-detail"):
                self.script("document.querySelector('details').open = Boolean(arguments[0])", detail)
                self.assertEqual(self.script(CUT_LABELS), [], f"{scheme}, {name}{detail}")
                self.save_picture(f"{scheme}-{name}{detail}", width)
            self.assertGreater(min(self.script(EDGE_CONTRAST)), LEAST_CONTRAST, scheme)
        self.script("orvanePlayer.stop()")
        for scheme, name, width in looks:
            self.show_as(scheme, width)
            for layout in self.script("return import('/orvane/index.js').then(m => m.layouts.map(l => l.name))"):
                self.show_layout(layout)
                self.assertEqual(self.script(CUT_LABELS), [], f"{scheme}, {name}, {layout}")
            self.save_picture(f"{scheme}-{name}-22.2", width)
        self.assert_no_complaints()

    def test_letters_of_twice_the_size_fit_a_narrow_window(self):
        self.addCleanup(self.show_as_usual)
        self.open()
        self.show_as("light", 320)
        self.script("document.documentElement.style.fontSize = '200%'; document.querySelector('details').open = true;"
                    "orvaneHead.set({ yaw: 130, pitch: -20, roll: 10 })")
        cut = [text for text in self.script(CUT_LABELS) if not text.startswith("choice: ")]  # the list shows them whole
        self.save_picture("light-large-letters", 320)
        self.assertEqual(cut, [])

    def show_layout(self, name):
        browser.call(self.driver, """
            const { TopView } = await import('/topview.js'), { findLayout } = await import('/beds.js');
            const svg = document.querySelector('#view');
            svg.replaceChildren();
            new TopView(svg).showLayout(findLayout(args[0]));""", name)

    def save_picture(self, name, width):
        height = self.script("return document.documentElement.scrollHeight")
        clip = {"x": 0, "y": 0, "width": width, "height": height, "scale": 1}
        shot = self.driver.execute_cdp_cmd("Page.captureScreenshot", {"clip": clip, "captureBeyondViewport": True})
        (browser.WORK / "pictures" / f"{name}.png").write_bytes(base64.b64decode(shot["data"]))

    def test_screen_readers_find_a_name_and_keys_a_way_to_every_control(self):
        self.open()
        self.script("document.querySelector('details').open = true")
        tree = self.driver.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        focusable = [node for node in tree if not node["ignored"] and node["role"]["value"] != "RootWebArea"
                     and any(p["name"] == "focusable" and p["value"]["value"] for p in node.get("properties", []))]
        names = [(node["role"]["value"], node.get("name", {}).get("value", "")) for node in focusable]
        self.assertEqual([role for role, name in names if not name.strip()], [])
        self.assertGreater(len(names), 20)
        reached = []
        for _ in names:
            ActionChains(self.driver).send_keys(Keys.TAB).perform()
            reached.append(self.script("return document.activeElement.id || document.activeElement.tagName"))
        wanted = self.script("""return [...document.querySelectorAll('button, select, input, #view')]
            .filter(e => e.getClientRects().length && !(e.type === 'radio' && !e.checked) && e.id).map(e => e.id)""")
        self.assertEqual([control for control in wanted if control not in reached], [])

    def test_error_page_says_what_is_missing(self):
        for missing, text in (("AudioWorkletNode", "audio worklets (AudioWorkletNode)"), ("Object.hasOwn", "the JavaScript of 2022")):
            with self.subTest(missing):
                self.before_load(f"delete window.{missing}")
                self.driver.get(self.address + "/index.html")
                self.wait("!document.querySelector('#unsupported').hidden", 10)
                self.assertIn(text, self.find("#lacks").text.splitlines())
                self.assertFalse(self.find("#app").is_displayed())

    def test_error_page_when_a_part_is_not_understood_or_missing(self):
        broken = browser.WORK / "broken"
        shutil.copytree(browser.ROOT / "web/dist", broken, dirs_exist_ok=True)
        for damage, notice in ((lambda path: path.write_text("class { #"), "#unsupported"), (lambda path: path.unlink(), "#broken")):
            with self.subTest(notice):
                damage(broken / "player.js")
                self.driver.get(self.address + "/broken/index.html")
                self.wait(f"!document.querySelector('{notice}').hidden", 10)
                self.assertFalse(self.find("#app").is_displayed())


if __name__ == "__main__":
    browser.unittest.main(verbosity=2)
