"""Opens every page of the site from the disk, as a reader would: narrow and wide, light and dark. Nothing may be said in
the console, no line may run out of its box, every link must lead somewhere, and the search must find.

    check.py FOLDER
"""

import pathlib
import sys
from urllib.parse import unquote, urldefrag, urljoin, urlparse

from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

WIDTHS = {"narrow": 390, "wide": 1400}
SEARCHED = "parenthes"

# What is wider than the page and does not scroll by itself.
OVERFLOWING = """
    const wide = [];
    for (const element of document.querySelectorAll("article *")) {
        let scrolls = false;
        for (let box = element; box && box.tagName !== "ARTICLE"; box = box.parentElement)
            scrolls = scrolls || ["auto", "scroll", "hidden"].includes(getComputedStyle(box).overflowX);
        if (!scrolls && element.getBoundingClientRect().right > document.documentElement.clientWidth + 1)
            wide.push(element.tagName + " " + element.textContent.trim().slice(0, 60));
    }
    return wide.slice(0, 5);
"""

LINKS = 'return [...document.querySelectorAll("a[href], link[href], img[src], script[src]")].map(e => e.href || e.src);'
NAMES = 'return [...document.querySelectorAll("[id], a[name]")].map(e => e.id || e.name);'


def start_browser(scheme):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    browser = webdriver.Chrome(service=webdriver.chrome.service.Service("/usr/bin/chromedriver"), options=options)
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
    return browser


def look_at(browser, page, width):
    """The findings of one page at one width."""
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                            {"width": WIDTHS[width], "height": 900, "deviceScaleFactor": 1, "mobile": width == "narrow"})
    browser.get(page.as_uri())
    findings = [f"says {entry['message']}" for entry in browser.get_log("browser")]
    findings += ["shows a block's fence"] if "```" in browser.find_element(By.TAG_NAME, "article").text else []
    findings += [f"is too wide: {text}" for text in browser.execute_script(OVERFLOWING)]
    return findings


def check_search(browser, page):
    browser.get(page.as_uri())
    browser.execute_script('document.querySelector("[data-md-component=search-query]").focus()')
    browser.find_element(By.CSS_SELECTOR, "[data-md-component=search-query]").send_keys(SEARCHED)
    try:
        WebDriverWait(browser, 20).until(lambda b: b.find_elements(By.CSS_SELECTOR, ".md-search-result__item"))
    except Exception:
        return [f"the search finds no '{SEARCHED}'"]
    return []


def main(folder):
    pages = sorted(p for p in folder.glob("**/*.html") if "reference" not in p.relative_to(folder).parts)
    findings = []
    names, links = {}, {}
    for scheme in ("light", "dark"):
        browser = start_browser(scheme)
        try:
            for page in pages:
                for width in WIDTHS:
                    findings += [f"{page.name} ({width}, {scheme}) {found}" for found in look_at(browser, page, width)]
                names[page.as_uri()] = set(browser.execute_script(NAMES))
                links[page.as_uri()] = browser.execute_script(LINKS)
            findings += check_search(browser, folder / "index.html")
        finally:
            browser.quit()
    for page, targets in links.items():
        for target in targets:
            url, fragment = urldefrag(urljoin(page, target))
            if not url.startswith("file:"):
                continue
            if not pathlib.Path(unquote(urlparse(url).path)).exists():
                findings.append(f"{page} leads to {url}, which is not there")
            elif fragment and url in names and fragment not in names[url]:
                findings.append(f"{page} leads to #{fragment} of {url}, which has no such place")
    print("\n".join(sorted(set(findings))) or f"{len(pages)} pages, and nothing to say of them")
    return 1 if findings else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve()))
