#!/usr/bin/env python3
"""The review pages of `ctgscore report` in headless Chromium (Debian's chromium,
chromium-driver and python3-selenium, which the test command installs).  CTest
sets CTGSCORE_TOOL and CTGSCORE_SCREENSHOT (a PNG in the build tree)."""
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile

import pytest

TOOL = os.environ.get("CTGSCORE_TOOL", "")
SCREENSHOT = os.environ.get("CTGSCORE_SCREENSHOT", "")
# Chromium on a machine without network access stalls on refused connections
# unless it is told not to make them.
CHROMIUM_ARGUMENTS = ["--headless=new", "--no-sandbox", "--disable-gpu", "--disable-quic",
                      "--no-first-run", "--disable-background-networking",
                      "--disable-component-update", "--disable-sync", "--window-size=1400,960"]


@pytest.fixture(scope="module")
def pages():
    """Pages of simulated recordings of 40 minutes and 8 hours, of 5 minutes every
    method rejects (all signal loss), and the index with an unreadable file."""
    with tempfile.TemporaryDirectory(prefix="ctgscore-browser-") as folder:
        def tool(*arguments, expect=0):
            run = subprocess.run([TOOL, *arguments], cwd=folder, capture_output=True, text=True)
            assert run.returncode == expect, run.stderr
        tool("simulate", "--minutes", "40", "--seed", "1", "--out", "example.csv")
        tool("simulate", "--minutes", "480", "--seed", "2", "--out", "long.csv")
        pathlib.Path(folder, "flat.csv").write_text("fhr,uc\n" + "0,20\n" * 1200)
        pathlib.Path(folder, "broken.csv").write_text("fhr,uc\n140\n")
        tool("report", "example.csv", "long.csv", "flat.csv", "broken.csv", "--out", "pages",
             expect=1)
        yield os.path.join(folder, "pages")


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
    assert [entry for entry in browser.get_log("browser") if entry["level"] == "SEVERE"] == []


def open_page(browser, pages, name):
    """Loads a page and waits until it has been drawn."""
    browser.get("file://" + os.path.join(pages, name))
    browser.execute_async_script(
        "const done = arguments[0]; requestAnimationFrame(() => requestAnimationFrame(done));")


def visible_window(browser):
    """The recording's seconds at the left and right edges of the strip's window."""
    return browser.execute_script("""
        const scroller = document.getElementById('scroller'), left = scroller.scrollLeft;
        const data = document.getElementById('review').dataset;
        const scale = data.samples / data.rate
            / document.getElementById('strip').getBoundingClientRect().width;
        return [left * scale, (left + scroller.clientWidth) * scale];""")


def shown_events(browser):
    """data-event of the table rows and of the strip's shapes that are displayed."""
    return browser.execute_script("""
        const shown = selector => [...document.querySelectorAll(selector)]
            .filter(element => element.getClientRects().length > 0)
            .map(element => element.dataset.event).sort();
        return [shown('#event-table tbody tr'), shown('#strip-svg [data-event]')];""")


def shown_rows(browser):
    return [row for row in browser.find_elements("css selector", "#event-table tbody tr")
            if row.is_displayed()]


def test_table_and_strip_show_the_same_events_and_rows_move_the_window(browser, pages):
    open_page(browser, pages, "example.html")
    row = shown_rows(browser)[3]
    browser.execute_script("arguments[0].scrollIntoView({block: 'center'})", row)
    row.click()
    browser.execute_script("window.scrollTo(0, 0)")
    if SCREENSHOT:  # the page as it opens, with the fourth event selected
        browser.save_screenshot(SCREENSHOT)

    for switch in browser.find_elements("css selector", "input[data-method]"):
        if not switch.is_selected():
            switch.click()
    rows, shapes = shown_events(browser)
    expected = len(browser.find_elements("css selector", "#event-table tbody tr"))
    assert len(rows) == expected > 0 and rows == shapes
    browser.find_element("css selector", "input[data-method='fischer']").click()
    rows, shapes = shown_events(browser)
    assert 0 < len(rows) < expected and rows == shapes

    last = shown_rows(browser)[-1]
    last.click()
    start, end = float(last.get_attribute("data-start")), float(last.get_attribute("data-end"))
    left, right = visible_window(browser)
    assert left <= start and end <= right
    selected = browser.find_elements("css selector", "#strip-svg .selected")  # not the fourth
    assert [shape.get_attribute("data-event") for shape in selected] == [
        last.get_attribute("data-event")]


def test_paper_speed_arrow_keys_and_overview(browser, pages):
    from selenium.webdriver.common.action_chains import ActionChains
    from selenium.webdriver.common.keys import Keys
    open_page(browser, pages, "example.html")
    strip_width = "return document.getElementById('strip').getBoundingClientRect().width"
    at_one = browser.execute_script(strip_width)
    browser.find_element("css selector", "input[name='speed'][value='3']").click()
    assert browser.execute_script(strip_width) == pytest.approx(3 * at_one, rel=1e-3)
    assert len(browser.find_elements("css selector", ".print-page")) == 5  # 8 minutes a page

    browser.execute_script("document.getElementById('scroller').scrollLeft = 0")
    right = visible_window(browser)[1]
    browser.find_element("tag name", "body").send_keys(Keys.ARROW_RIGHT)
    assert visible_window(browser)[0] == pytest.approx(right, abs=1.0)

    ActionChains(browser).move_to_element(browser.find_element("id", "overview")).click().perform()
    left, right = visible_window(browser)
    assert (left + right) / 2 == pytest.approx(40 * 60 / 2, abs=20)


def test_other_pages_load_and_the_index_sorts_by_a_clicked_column(browser, pages):
    open_page(browser, pages, "long.html")
    rows, shapes = shown_events(browser)
    assert len(rows) > 0 and rows == shapes
    open_page(browser, pages, "flat.html")
    open_page(browser, pages, "index.html")
    heading = browser.find_element("xpath", "//th[text()='Minutes']")
    column = "return [...document.querySelectorAll('#recordings tbody tr')]" \
             ".map(row => row.cells[%d].dataset.sort)" % int(heading.get_attribute("cellIndex"))
    assert [heading.click() or browser.execute_script(column) for _ in range(2)] == [
        ["5.0", "40.0", "480.0", ""], ["480.0", "40.0", "5.0", ""]]  # unreadable last twice


if __name__ == "__main__":
    sys.exit(pytest.main([__file__, "-q", "-s", "-p", "no:cacheprovider"]))
