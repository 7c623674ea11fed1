#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Opens the validation report in headless Chromium, light and dark, wide and narrow, and fails where it is not right.

Takes the report's folder and saves a picture of the page in each scheme and width there. Needs the Debian packages chromium,
chromium-driver and python3-selenium.
"""

import base64
import itertools
import json
import sys
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

WIDTHS = {"wide": 1100, "narrow": 400}  # pixels
HEIGHT = 1400
NARROWEST = 330  # of a picture

# Per picture: its section, its size, what it draws, and whether any label leaves it or reads badly.
PICTURES = """
return [...document.querySelectorAll("section svg")].map(svg => {
  const frame = svg.getBoundingClientRect();
  const paper = getComputedStyle(svg.querySelector(".paper path")).fill;
  const drawn = [...svg.querySelectorAll("path, use")].filter(mark => !mark.closest("defs, .paper"));
  const labels = [...svg.querySelectorAll("text")];
  const outside = box => box.left < frame.left - 1 || box.right > frame.right + 1 ||
                         box.top < frame.top - 1 || box.bottom > frame.bottom + 1;
  return {
    section: svg.closest("section").id,
    width: frame.width,
    drawn: drawn.length,
    lost: drawn.filter(mark => !mark.closest("[clip-path]") && outside(mark.getBoundingClientRect())).length,
    clipped: labels.filter(label => outside(label.getBoundingClientRect())).map(l => l.textContent),
    unseen: labels.filter(label => getComputedStyle(label).fill === paper).length,
  };
});
"""


def open_browser():
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless", "--no-sandbox", "--disable-gpu", f"--window-size={max(WIDTHS.values())},{HEIGHT}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def show(driver, page, scheme, width):
    """Loads the page in a colour scheme and a width."""
    metrics = {"width": width, "height": HEIGHT, "deviceScaleFactor": 1, "mobile": False}
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", metrics)
    feature = {"name": "prefers-color-scheme", "value": scheme}
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [feature]})
    driver.get(page.as_uri())


def save_picture(driver, path, width):
    height = driver.execute_script("return document.documentElement.scrollHeight")
    clip = {"x": 0, "y": 0, "width": width, "height": height, "scale": 1}
    shot = driver.execute_cdp_cmd(
        "Page.captureScreenshot", {"clip": clip, "captureBeyondViewport": True}
    )
    path.write_bytes(base64.b64decode(shot["data"]))


def page_problems(driver, figures, width):
    """What is wrong with the page as it is shown."""
    yield from (entry["message"] for entry in driver.get_log("browser"))
    rows = driver.execute_script("return document.querySelectorAll('#figures tbody tr').length")
    if rows != len(figures):
        yield f"{rows} rows for {len(figures)} figures"
    needed = driver.execute_script("return document.documentElement.scrollWidth")
    if needed > width:
        yield f"needs {needed} pixels across"
    pictures = driver.execute_script(PICTURES)
    sections = {figure["id"].split(".")[0] for figure in figures}
    for section in sorted(sections - {picture["section"] for picture in pictures}):
        yield f"{section} shows no picture"
    for picture in pictures:
        if picture["width"] < NARROWEST or picture["drawn"] == 0 or picture["lost"] or picture["unseen"]:
            yield f"a picture of {picture['section']} is not all there: {picture}"
        for label in picture["clipped"]:
            yield f"a picture of {picture['section']} cuts off: {label}"


def main():
    folder = Path(sys.argv[1]).resolve()
    figures = json.loads((folder / "report.json").read_text())["figures"]
    problems = []
    driver = open_browser()
    try:
        for (name, width), scheme in itertools.product(WIDTHS.items(), ("light", "dark")):
            show(driver, folder / "index.html", scheme, width)
            problems += [f"{name}, {scheme}: {problem}" for problem in page_problems(driver, figures, width)]
            save_picture(driver, folder / f"{name}-{scheme}.png", width)
    finally:
        driver.quit()
    for problem in problems:
        print(f"error: {problem}", file=sys.stderr)
    print("the report is not as it should be" if problems else "the report shows all it should")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
