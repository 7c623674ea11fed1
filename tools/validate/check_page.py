#!/usr/bin/python3
"""Opens the validation report in headless Chromium, in light and dark, and fails where it is not as it should be.

Takes the report's folder and saves a picture of the page in each scheme there. Needs the Debian packages chromium,
chromium-driver and python3-selenium.
"""

import base64
import json
import sys
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

DOCUMENT = Path(__file__).resolve().parents[2] / "docs" / "validation.md"
WIDTH, HEIGHT = 1040, 1400

# Per picture: its section, its size, what it draws, and whether any label leaves it or reads badly.
PICTURES = """
return [...document.querySelectorAll("section svg")].map(svg => {
  const frame = svg.getBoundingClientRect();
  const paper = getComputedStyle(svg.querySelector(".paper")).fill;
  const drawn = [...svg.querySelectorAll("path, circle, rect:not(.paper)")];
  const labels = [...svg.querySelectorAll("text")];
  const outside = box => box.left < frame.left - 1 || box.right > frame.right + 1 ||
                         box.top < frame.top - 1 || box.bottom > frame.bottom + 1;
  return {
    section: svg.closest("section").id,
    area: frame.width * frame.height,
    drawn: drawn.length,
    lost: drawn.filter(mark => outside(mark.getBoundingClientRect())).length,
    clipped: labels.filter(label => outside(label.getBoundingClientRect())).map(l => l.textContent),
    unseen: labels.filter(label => getComputedStyle(label).fill === paper).length,
  };
});
"""


def open_browser():
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless", "--no-sandbox", "--disable-gpu", f"--window-size={WIDTH},{HEIGHT}"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def show(driver, page, scheme):
    """Loads the page in a colour scheme."""
    feature = {"name": "prefers-color-scheme", "value": scheme}
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [feature]})
    driver.get(page.as_uri())


def save_picture(driver, path):
    height = driver.execute_script("return document.documentElement.scrollHeight")
    clip = {"x": 0, "y": 0, "width": WIDTH, "height": height, "scale": 1}
    shot = driver.execute_cdp_cmd(
        "Page.captureScreenshot", {"clip": clip, "captureBeyondViewport": True}
    )
    path.write_bytes(base64.b64decode(shot["data"]))


def page_problems(driver, figures):
    """What is wrong with the page as it is shown."""
    yield from (entry["message"] for entry in driver.get_log("browser"))
    rows = driver.execute_script("return document.querySelectorAll('#figures tbody tr').length")
    if rows != len(figures):
        yield f"{rows} rows for {len(figures)} figures"
    pictures = driver.execute_script(PICTURES)
    sections = {figure["id"].split(".")[0] for figure in figures}
    for section in sorted(sections - {picture["section"] for picture in pictures}):
        yield f"{section} shows no picture"
    for picture in pictures:
        if picture["area"] < 1e5 or picture["drawn"] == 0 or picture["lost"] or picture["unseen"]:
            yield f"a picture of {picture['section']} is not all there: {picture}"
        for label in picture["clipped"]:
            yield f"a picture of {picture['section']} cuts off: {label}"


def limit_cell(figure):
    """The limit as docs/validation.md shows it."""
    low, high, unit = figure["at_least"], figure["at_most"], figure["unit"]
    if low is not None and high is not None:
        text = f"{low:g}" if low == high else f"{low:g} to {high:g}"
    else:
        text = f"≤ {high:g}" if low is None else f"≥ {low:g}"
    return f"{text} {unit}".strip()


def document_problems(figures):
    """Figures whose name and limit the document does not show in a row of a table."""
    rows = [[cell.strip() for cell in line.split("|")[1:3]] for line in DOCUMENT.read_text().splitlines()]
    for figure in figures:
        if [f"`{figure['id']}`", limit_cell(figure)] not in rows:
            yield f"{DOCUMENT.name} does not show: | `{figure['id']}` | {limit_cell(figure)} |"


def main():
    folder = Path(sys.argv[1]).resolve()
    figures = json.loads((folder / "report.json").read_text())["figures"]
    problems = list(document_problems(figures))
    driver = open_browser()
    try:
        for scheme in ("light", "dark"):
            show(driver, folder / "index.html", scheme)
            problems += [f"{scheme}: {problem}" for problem in page_problems(driver, figures)]
            save_picture(driver, folder / f"{scheme}.png")
    finally:
        driver.quit()
    for problem in problems:
        print(f"error: {problem}", file=sys.stderr)
    print("the report is not as it should be" if problems else "the report shows all it should")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
