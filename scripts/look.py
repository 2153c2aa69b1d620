#!/usr/bin/python3
"""Looks at a page of a repair in headless Chromium: look.py PAGE PICTURES

Opens the page on a desktop and on a telephone, light and dark, turns a view, switches the colours, goes to another
place, turns and zooms with fingers, and once more without WebGL. Writes pictures to the folder PICTURES; stage.png
shows the first place alone. Ends with 1 and a line per finding: an error on the console, a request that leaves the
page, a drag, a finger or a button that changes nothing, a page wider than its screen. Needs nothing but Python and
chromium.
"""
import base64
import itertools
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import time

PATIENCE = 60  # seconds until something is said not to come: many times what a slow machine needs
FLAGS = ['--headless=new', '--no-sandbox', '--disable-background-networking', '--disable-component-update',
         '--no-first-run', '--hide-scrollbars', '--remote-debugging-pipe']
SCREENS = {'desktop': (1200, 1000, 1, False), 'telephone': (390, 844, 2, True)}


class Browser:
    """One Chromium, spoken to over a pipe in its own protocol: messages of JSON, each ended by a zero."""

    def __init__(self, *flags):
        self.profile = tempfile.mkdtemp()
        their_input, self.to_browser = os.pipe()
        self.from_browser, their_output = os.pipe()

        def hand_over():  # Chromium reads from descriptor 3 and writes to 4
            for descriptor, place in ((os.dup(their_input), 3), (os.dup(their_output), 4)):
                os.dup2(descriptor, place)

        self.process = subprocess.Popen(['chromium', *FLAGS, *flags, f'--user-data-dir={self.profile}'],
                                        preexec_fn=hand_over, close_fds=False, stderr=subprocess.DEVNULL)
        os.close(their_input)
        os.close(their_output)
        self.numbers = itertools.count(1)
        self.session, self.pending, self.findings = None, b'', []
        target = self.call('Target.createTarget', url='about:blank')['targetId']
        self.session = self.call('Target.attachToTarget', targetId=target, flatten=True)['sessionId']
        for domain in ('Page', 'Runtime', 'Log', 'Network'):
            self.call(f'{domain}.enable')

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait(PATIENCE)
        shutil.rmtree(self.profile, ignore_errors=True)

    def receive(self):
        while b'\0' not in self.pending:
            data = os.read(self.from_browser, 1 << 20)
            if not data:
                raise RuntimeError('chromium went away')
            self.pending += data
        text, self.pending = self.pending.split(b'\0', 1)
        message = json.loads(text)
        self.judge(message.get('method'), message.get('params', {}))
        return message

    def judge(self, event, about):
        if event == 'Runtime.exceptionThrown':
            details = about['exceptionDetails']
            self.findings.append(details.get('exception', {}).get('description', details['text']))
        elif event == 'Runtime.consoleAPICalled' and about['type'] in ('error', 'assert', 'warning'):
            self.findings.append('console: ' + ' '.join(str(a.get('value')) for a in about['args']))
        elif event == 'Log.entryAdded' and about['entry']['level'] == 'error':
            self.findings.append('log: ' + about['entry']['text'])
        elif event == 'Network.requestWillBeSent' and not about['request']['url'].startswith(('file:', 'data:')):
            self.findings.append('leaves the page: ' + about['request']['url'])

    def call(self, method, **params):
        number = next(self.numbers)
        message = {'id': number, 'method': method, 'params': params}
        if self.session:
            message['sessionId'] = self.session
        os.write(self.to_browser, json.dumps(message).encode() + b'\0')
        while True:
            answer = self.receive()
            if answer.get('id') == number:
                if 'error' in answer:
                    raise RuntimeError(f'{method}: {answer["error"]["message"]}')
                return answer['result']

    def value(self, expression):
        answer = self.call('Runtime.evaluate', expression=expression, awaitPromise=True, returnByValue=True)
        return answer['result'].get('value')

    def open(self, page, screen, scheme):
        width, height, ratio, mobile = SCREENS[screen]
        self.call('Emulation.setDeviceMetricsOverride', width=width, height=height, deviceScaleFactor=ratio,
                  mobile=mobile)
        self.call('Emulation.setTouchEmulationEnabled', enabled=mobile, maxTouchPoints=2)
        self.call('Emulation.setEmulatedMedia', features=[{'name': 'prefers-color-scheme', 'value': scheme}])
        self.call('Page.navigate', url=page.as_uri())
        end = time.monotonic() + PATIENCE
        while not (ready := self.value('document.documentElement.dataset.ready')) and not self.findings:
            if time.monotonic() > end:
                raise RuntimeError('the page does not get ready')
            time.sleep(0.05)
        return ready

    def picture(self, file=None, **clip):
        self.value('new Promise(done => requestAnimationFrame(() => requestAnimationFrame(done)))')
        data = base64.b64decode(self.call('Page.captureScreenshot', **clip)['data'])
        if file:
            file.write_bytes(data)
        return data

    def drag(self, x, y, by_x, by_y):
        for kind, part, buttons in (('mousePressed', 0, 1), ('mouseMoved', .5, 1), ('mouseMoved', 1, 1),
                                    ('mouseReleased', 1, 0)):
            self.call('Input.dispatchMouseEvent', type=kind, x=x + part * by_x, y=y + part * by_y, button='left',
                      buttons=buttons, clickCount=1)

    def touch(self, *fingers):
        """Moves fingers, each from a place to a place, at the same time."""
        for kind, part in (('touchStart', 0), ('touchMove', .5), ('touchMove', 1)):
            self.call('Input.dispatchTouchEvent', type=kind, touchPoints=[
                {'x': x + part * (to_x - x), 'y': y + part * (to_y - y), 'id': i}
                for i, ((x, y), (to_x, to_y)) in enumerate(fingers)])
        self.call('Input.dispatchTouchEvent', type='touchEnd', touchPoints=[])


def stage(browser):
    """Where the views are, in pixels of the page."""
    return browser.value('(({x, y, width, height}) => ({x, y, width, height}))'
                         '(document.getElementById("stage").getBoundingClientRect())')


def look_at_views(browser, page, pictures):
    for screen, scheme in itertools.product(SCREENS, ('light', 'dark')):
        if browser.open(page, screen, scheme) != 'views':
            browser.findings.append('no views, though there is WebGL')
            return
        browser.picture(pictures / f'{screen}-{scheme}.png')
        if browser.value('document.documentElement.scrollWidth > innerWidth'):
            browser.findings.append(f'{screen}: the page is wider than the screen')
    browser.open(page, 'desktop', 'light')
    box = stage(browser)
    actions = {'a drag': lambda: browser.drag(box['x'] + 150, box['y'] + 150, 120, 40),
               'the colour': lambda: browser.value('document.querySelector("[data-colour=bend]").click()'),
               'the edges': lambda: browser.value('document.getElementById("edges").click()'),
               'the zoom': lambda: browser.call('Input.dispatchMouseEvent', type='mouseWheel', x=box['x'] + 150,
                                                y=box['y'] + 150, deltaX=0, deltaY=-200),
               'the next place': lambda: browser.value('document.getElementById("next").click()')}
    try_all(browser, actions, box, pictures / 'stage.png')
    browser.picture(pictures / 'turned.png')


def try_all(browser, actions, box, first=None):
    browser.value('document.getElementById("hint").hidden = true')
    before = browser.picture(first, clip={**box, 'scale': 1})
    for name, act in actions.items():
        act()
        after = browser.picture(clip={**box, 'scale': 1})
        if after == before:
            browser.findings.append(f'{name} changes nothing')
        before = after


def look_by_touch(browser, page, pictures):
    browser.open(page, 'telephone', 'light')
    browser.value('document.getElementById("stage").scrollIntoView()')
    box = stage(browser)
    x, y = box['x'] + box['width'] / 2, box['y'] + box['height'] / 4
    apart = ((x - 30, y), (x - 90, y)), ((x + 30, y), (x + 90, y))
    scrolled = browser.value('scrollY')
    clip = {**box, 'y': box['y'] + scrolled, 'scale': 1}
    try_all(browser, {'one finger': lambda: browser.touch(((x, y), (x + 80, y + 60)))}, clip)
    turned = browser.picture(clip=clip)
    try_all(browser, {'two fingers apart': lambda: browser.touch(*apart)}, clip)
    browser.picture(pictures / 'touched.png')
    try_all(browser, {'two fingers together': lambda: browser.touch(*(finger[::-1] for finger in apart))}, clip)
    if browser.picture(clip=clip) != turned:
        browser.findings.append('two fingers do more than bring it nearer and back')
    if browser.value('scrollY') != scrolled or browser.value('visualViewport.scale') != 1:
        browser.findings.append('fingers on the views move the page')


def look_without(browser, page, pictures):
    ready = browser.open(page, 'desktop', 'light')
    browser.picture(pictures / 'without-webgl.png')
    if ready != 'table' or not browser.value('document.getElementById("without").checkVisibility()'):
        browser.findings.append('without WebGL the page does not say so')


def main():
    page, pictures = pathlib.Path(sys.argv[1]).resolve(), pathlib.Path(sys.argv[2])
    pictures.mkdir(parents=True, exist_ok=True)
    findings = []
    for flag, look in (('--enable-unsafe-swiftshader', look_at_views), ('--enable-unsafe-swiftshader', look_by_touch),
                       ('--disable-3d-apis', look_without)):
        with Browser(flag) as browser:
            look(browser, page, pictures)
            findings += browser.findings
    if findings:
        sys.exit('\n'.join(findings))
    print(f'{page.name}: views turn, nothing leaves the page; pictures in {pictures}')


main()
