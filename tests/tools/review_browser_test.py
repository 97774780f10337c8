#!/usr/bin/env python3
"""The review pages of `ctgscore report` in headless Chromium.

Run by CTest with CTGSCORE_TOOL (the built ctgscore) and CTGSCORE_SCREENSHOT
(a PNG path in the build tree) set.  Exits 77 (skipped) when chromium,
chromedriver or python3-selenium is missing.
"""
import json
import os
import shutil
import subprocess
import sys
import tempfile
import time

import pytest

SKIPPED = 77
TOOL = os.environ.get("CTGSCORE_TOOL", "")
SCREENSHOT = os.environ.get("CTGSCORE_SCREENSHOT", "")
# Chromium on a machine without network access stalls on refused connections
# unless it is told not to make them.
CHROMIUM_ARGUMENTS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic",
                      "--no-first-run", "--disable-background-networking",
                      "--disable-component-update", "--disable-sync", "--window-size=1400,960"]


def missing_browser():
    try:
        import selenium  # noqa: F401
    except ImportError:
        return "python3-selenium is not installed"
    for program in ("chromium", "chromedriver"):
        if shutil.which(program) is None:
            return program + " is not installed"
    return None


@pytest.fixture(scope="module")
def pages():
    """Review pages of simulated recordings: 40 minutes, 8 hours, one every
    method rejects (all signal loss), and an unreadable file."""
    with tempfile.TemporaryDirectory(prefix="ctgscore-browser-") as folder:
        def tool(*arguments, expect=0):
            run = subprocess.run([TOOL, *arguments], cwd=folder, capture_output=True, text=True)
            assert run.returncode == expect, run.stderr
            return run.stdout
        tool("simulate", "--minutes", "40", "--seed", "1", "--out", "example.csv")
        tool("simulate", "--minutes", "480", "--seed", "2", "--out", "long.csv")
        with open(os.path.join(folder, "flat.csv"), "w") as flat:
            flat.write("fhr,uc\n" + "0,20\n" * 2400)
        with open(os.path.join(folder, "broken.csv"), "w") as broken:
            broken.write("fhr,uc\n140\n")
        tool("report", "example.csv", "long.csv", "flat.csv", "broken.csv", "--out", "pages",
             expect=1)
        analysis = json.loads(tool("analyze", "example.csv", "--format", "json"))
        yield {"folder": os.path.join(folder, "pages"), "example": analysis["recordings"][0]}


@pytest.fixture(scope="module")
def browser(pages):
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    for argument in CHROMIUM_ARGUMENTS:
        options.add_argument(argument)
    with tempfile.TemporaryDirectory(prefix="ctgscore-chromium-") as profile:
        options.add_argument("--user-data-dir=" + profile)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        driver = webdriver.Chrome(service=Service(shutil.which("chromedriver")), options=options)
        yield driver
        driver.quit()


@pytest.fixture(autouse=True)
def no_console_errors(browser):
    yield
    errors = [entry for entry in browser.get_log("browser") if entry["level"] == "SEVERE"]
    assert errors == []


def open_page(browser, pages, name):
    """Loads a page and waits until it has been drawn; returns the seconds taken."""
    started = time.perf_counter()
    browser.get("file://" + os.path.join(pages["folder"], name))
    browser.execute_async_script(
        "const done = arguments[0]; requestAnimationFrame(() => requestAnimationFrame(done));")
    return time.perf_counter() - started


def visible_window(browser):
    """The recording's seconds at the left and right edges of the strip's window."""
    return browser.execute_script("""
        const scroller = document.getElementById('scroller');
        const width = document.getElementById('strip').getBoundingClientRect().width;
        const review = document.getElementById('review');
        const seconds = review.dataset.samples / review.dataset.rate;
        return [scroller.scrollLeft / width * seconds,
                (scroller.scrollLeft + scroller.clientWidth) / width * seconds];""")


def shown_events(browser):
    """data-event of the table rows and of the strip's shapes that are displayed."""
    return browser.execute_script("""
        const shown = selector => [...document.querySelectorAll(selector)]
            .filter(element => element.getClientRects().length > 0)
            .map(element => element.dataset.event).sort();
        return [shown('#event-table tbody tr'), shown('#strip-svg [data-event]')];""")


def test_table_and_strip_show_the_same_events_and_rows_move_the_window(browser, pages):
    open_page(browser, pages, "example.html")
    for switch in browser.find_elements("css selector", "input[data-method]"):
        if not switch.is_selected():
            switch.click()
    rows, shapes = shown_events(browser)
    expected = sum(len(result.get(kind, [])) for result in pages["example"]["results"]
                   for kind in ("accelerations", "decelerations"))
    assert len(rows) == expected > 0
    assert rows == shapes

    browser.find_element("css selector", "input[data-method='fischer']").click()
    rows, shapes = shown_events(browser)
    assert 0 < len(rows) < expected and rows == shapes

    shown_rows = [row for row in browser.find_elements("css selector", "#event-table tbody tr")
                  if row.is_displayed()]
    last = shown_rows[-1]
    last.click()
    start, end = float(last.get_attribute("data-start")), float(last.get_attribute("data-end"))
    left, right = visible_window(browser)
    assert left <= start and end <= right
    shape = browser.find_element("css selector",
                                 "#strip-svg [data-event='%s']" % last.get_attribute("data-event"))
    assert "selected" in shape.get_attribute("class")
    if SCREENSHOT:  # the page as it opens, with the fourth event selected
        open_page(browser, pages, "example.html")
        row = [row for row in browser.find_elements("css selector", "#event-table tbody tr")
               if row.is_displayed()][3]
        browser.execute_script("arguments[0].scrollIntoView({block: 'center'})", row)
        row.click()
        browser.execute_script("window.scrollTo(0, 0)")
        browser.save_screenshot(SCREENSHOT)


def test_paper_speed_arrow_keys_and_overview(browser, pages):
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.keys import Keys
    open_page(browser, pages, "example.html")
    strip_width = "return document.getElementById('strip').getBoundingClientRect().width"
    at_one = browser.execute_script(strip_width)
    browser.find_element("css selector", "input[name='speed'][value='3']").click()
    assert browser.execute_script(strip_width) == pytest.approx(3 * at_one, rel=1e-3)

    browser.execute_script("document.getElementById('scroller').scrollLeft = 0")
    left, right = visible_window(browser)
    browser.find_element("tag name", "body").send_keys(Keys.ARROW_RIGHT)
    assert visible_window(browser)[0] == pytest.approx(right, abs=1.0)

    ActionChains(browser).move_to_element(browser.find_element("id", "overview")).click().perform()
    left, right = visible_window(browser)
    assert (left + right) / 2 == pytest.approx(40 * 60 / 2, abs=20)


def test_recording_every_method_rejects_has_traces_and_reasons(browser, pages):
    open_page(browser, pages, "flat.html")
    reasons = [card.text for card in browser.find_elements("css selector", ".card .reason")]
    assert len(reasons) == 4
    assert all("all heart rate out of range" in reason for reason in reasons)
    assert browser.find_element("css selector", "#strip-svg .toco").get_attribute("d")
    assert browser.find_elements("css selector", "#event-table") == []


def test_index_lists_failures_and_sorts_by_a_clicked_column(browser, pages):
    open_page(browser, pages, "index.html")
    broken = browser.find_element("css selector", "tr.failed")
    assert "line 2" in broken.text and broken.find_elements("tag name", "a") == []

    heading = browser.find_element("xpath", "//th[text()='Krebs']")
    column = "return [...document.querySelectorAll('#recordings tbody tr')]" \
             ".map(row => row.cells[%d].dataset.sort)" % int(heading.get_attribute("cellIndex"))
    heading.click()
    ascending = browser.execute_script(column)
    scored = [int(key) for key in ascending if key]
    assert scored == sorted(scored) and ascending[len(scored):] == [""] * 2
    heading.click()
    descending = browser.execute_script(column)
    assert [int(key) for key in descending if key] == scored[::-1]
    assert browser.find_element("link text", "long").get_attribute("href").endswith("long.html")


def test_eight_hour_page_load_time_is_reported(browser, pages):
    seconds = open_page(browser, pages, "long.html")
    rows, shapes = shown_events(browser)
    assert len(rows) > 0 and rows == shapes
    size = os.path.getsize(os.path.join(pages["folder"], "long.html"))
    print("\n8-hour page (115,200 samples, %.1f MB): loaded and drawn in %.2f s"
          % (size / 1e6, seconds))


if __name__ == "__main__":
    reason = missing_browser()
    if reason:
        print("skipped: " + reason + " (the review page browser test needs chromium, "
              "chromium-driver and python3-selenium)")
        sys.exit(SKIPPED)
    sys.exit(pytest.main([__file__, "-q", "-s", "-p", "no:cacheprovider"]))
