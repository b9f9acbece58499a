"use strict";

// The mode in which the user points at what is to be hidden.
{
  const { dom, Overlay } = orvane;

  /** A press and its release may lie this far apart, in pixels, to be a click on one thing. */
  const steadiness = 10;

  /** A page may move by itself, without an event that tells: the boxes follow at this interval. */
  const redrawInterval = 250;

  /** What a second click of a double click does within this time is not meant for the page. */
  const doubleClick = 500;

  const pointerEvents = [
    "pointerdown",
    "pointerup",
    "pointermove",
    "pointerover",
    "pointerout",
    "pointercancel",
    "mousedown",
    "mouseup",
    "mousemove",
    "mouseover",
    "mouseout",
    "click",
    "dblclick",
    "auxclick",
    "contextmenu",
    "dragstart",
    "selectstart",
  ];
  const touchEvents = ["touchstart", "touchmove", "touchend", "touchcancel"];
  const keyEvents = ["keydown", "keypress", "keyup"];
  const hostEvents = ["beforetoggle", "toggle", "focusin", "focusout", "focus", "blur"];
  const ownKeys = ["ArrowUp", "ArrowDown", "Enter", "Escape"];

  const isModified = (event) => event.ctrlKey || event.altKey || event.metaKey || event.shiftKey;

  /**
   * Whole pages are not offered, nor the frames of a frame set, which the browser shows whatever a
   * rule says. Of a drawing only all of it is offered.
   */
  function pickable(element) {
    let found = element;
    while (found instanceof SVGElement && dom.svgAround(found)) found = dom.svgAround(found);
    if (!found || found === dom.body() || found === dom.root()) return null;
    return found instanceof HTMLFrameElement || found instanceof HTMLFrameSetElement ? null : found;
  }

  /** One run of the mode, from its start to the pick or to the end without one. */
  class Picking {
    #overlay = new Overlay();
    #finish;
    /** From the element under the pointer up to the one that is chosen. */
    #trail = [];
    #choice = null;
    #pointer = null;
    #frame = 0;
    #looksAgain = false;
    #hasEnded = false;
    /** What was chosen when the button went down: that may close what is below before the click. */
    #pressed = null;
    #timer = setInterval(() => this.#redraw(), redrawInterval);

    /** `finish` is told the selector that was picked, or null. */
    constructor(finish) {
      this.#finish = finish;
      this.#overlay.say("Point at what is to be hidden");
    }

    end(selector = null) {
      this.#hasEnded = true;
      cancelAnimationFrame(this.#frame);
      clearInterval(this.#timer);
      this.#overlay.close();
      this.#finish(selector);
    }

    /** Without the overlay, which the page may remove, the user would pick without seeing it. */
    endIfGone() {
      if (!this.#overlay.isThere) this.end();
    }

    handlePointer(event) {
      if (event.type === "pointermove" || event.type === "pointerdown") {
        this.#pointer = { x: event.clientX, y: event.clientY };
      }
      if (event.type === "pointermove") this.#update();
      if (event.type === "pointerdown" && event.button === 0) this.#press(event);
      // A click without a count comes from a key, on what has the focus.
      if (event.type === "click" && event.button === 0 && event.detail > 0) this.#click(event);
    }

    /**
     * Nothing is picked that was not shown before: a finger comes without a movement, so the first
     * tap shows and the second picks. After a movement the next frame would show it.
     */
    #press(event) {
      const shown = this.#choice;
      const isMouse = event.pointerType === "mouse";
      if (this.#looksAgain || !isMouse) this.#lookUnderPointer();
      const isShown = isMouse || this.#choice === shown;
      this.#pressed = isShown ? { choice: this.#choice, ...this.#pointer } : null;
    }

    #click(event) {
      const pressed = this.#pressed;
      this.#pressed = null;
      if (!pressed) return;
      const distance = Math.hypot(event.clientX - pressed.x, event.clientY - pressed.y);
      if (distance <= steadiness) this.#pick(pressed.choice);
    }

    handleKey(key) {
      if (key === "ArrowUp") this.#widen();
      if (key === "ArrowDown") this.#narrow();
      if (key === "Enter") this.#pick(this.#choice);
      if (key === "Escape") this.end();
    }

    /** The page has moved under the pointer. What the user has widened to stays chosen. */
    follow() {
      this.#update({ sameElement: this.#trail.length > 1 });
    }

    /** The window is covered, so what is below does not scroll by itself. */
    scroll(event) {
      if (event.ctrlKey) return;
      this.#pointer = { x: event.clientX, y: event.clientY };
      for (let node = this.#elementUnderPointer(); node; node = dom.parent(node)) {
        if (dom.scrollHeight(node) <= dom.clientHeight(node)) continue;
        if (!/auto|scroll/.test(getComputedStyle(node).overflowY)) continue;
        if (node === dom.body() || node === dom.root()) return;
        dom.scrollBy(node, event.deltaX, event.deltaY);
        event.preventDefault();
        return;
      }
    }

    #redraw() {
      this.endIfGone();
      this.#update({ sameElement: true });
    }

    /** However often the pointer moves, the page is asked once a frame. */
    #update({ sameElement = false } = {}) {
      if (!sameElement) this.#looksAgain = true;
      if (this.#frame !== 0 || this.#hasEnded) return;
      this.#frame = requestAnimationFrame(() => {
        this.#frame = 0;
        if (this.#looksAgain) this.#lookUnderPointer();
        this.#looksAgain = false;
        this.#draw();
      });
    }

    #elementUnderPointer() {
      const { x, y } = this.#pointer;
      return dom.elementsAt(x, y).find((element) => !Overlay.isHost(element)) ?? null;
    }

    #lookUnderPointer() {
      if (!this.#pointer) return;
      this.#overlay.keepClearOf(this.#pointer.x, this.#pointer.y);
      const element = pickable(this.#elementUnderPointer());
      if (element === (this.#trail[0] ?? null)) return;
      this.#trail = element ? [element] : [];
      this.#choose();
    }

    #widen() {
      const wider = this.#trail.length > 0 && pickable(dom.parent(this.#trail.at(-1)));
      if (!wider) return;
      this.#trail.push(wider);
      this.#choose();
    }

    #narrow() {
      if (this.#trail.length < 2) return;
      this.#trail.pop();
      this.#choose();
    }

    #choose() {
      const element = this.#trail.at(-1);
      this.#choice = element ? orvane.selectorFor(element) : null;
      this.#describe();
      this.#draw();
    }

    #describe() {
      if (this.#trail.length === 0) {
        this.#overlay.say("Point at what is to be hidden");
      } else if (!this.#choice) {
        this.#overlay.say("Nothing tells this element from others; try a wider one");
      } else {
        const count = this.#choice.matches.length;
        this.#overlay.say(count === 1 ? "1 element" : `${count} elements`, this.#choice.selector);
      }
    }

    #draw() {
      this.#overlay.highlight(this.#choice?.matches ?? [], this.#trail.at(-1));
    }

    #pick(choice) {
      if (choice) this.end(choice.selector);
    }
  }

  let picking = null;
  /** What the user began in the mode and ends after it: a key held down, a double click. */
  let heldKey = null;
  let clickedAt = -Infinity;

  function swallow(event) {
    event.stopImmediatePropagation();
  }

  function block(event) {
    event.stopImmediatePropagation();
    event.preventDefault();
  }

  /** A page can make events of all kinds, but none that is trusted. */
  const whenTrusted = (handle) => (event) => {
    if (event.isTrusted) handle(event);
  };

  const onPointer = whenTrusted((event) => {
    picking?.endIfGone();
    if (picking) {
      block(event);
      if (event.type === "click") clickedAt = event.timeStamp;
      picking.handlePointer(event);
    } else if (event.timeStamp - clickedAt < doubleClick) {
      block(event);
    }
  });

  const onTouch = whenTrusted((event) => {
    if (picking) swallow(event);
  });

  const onKey = whenTrusted((event) => {
    picking?.endIfGone();
    if (!picking) {
      if (event.code !== heldKey) return;
      if (event.type === "keydown" && !event.repeat) heldKey = null;
      else block(event);
      if (event.type === "keyup") heldKey = null;
      return;
    }
    // Other keys still scroll and are the browser's; the page only does not hear of them.
    swallow(event);
    if (!ownKeys.includes(event.key) || isModified(event) || event.isComposing) return;
    event.preventDefault();
    if (event.type !== "keydown") return;
    heldKey = event.code;
    picking.handleKey(event.key);
  });

  const onHostEvent = whenTrusted((event) => {
    if ([event.target, event.relatedTarget].some(Overlay.isHost)) swallow(event);
  });

  const onWheel = whenTrusted((event) => picking?.scroll(event));
  const onMove = whenTrusted(() => picking?.follow());
  const leave = () => picking?.end();
  const onPageHide = whenTrusted(leave);
  const onVisibilityChange = whenTrusted(() => {
    if (dom.isHidden()) leave();
  });

  /** Before the page has any listener, so that it hears of nothing that these keep to them. */
  function listen() {
    const add = (types, listener, options = {}) => {
      for (const type of types) addEventListener(type, listener, { capture: true, ...options });
    };
    add(pointerEvents, onPointer);
    add(touchEvents, onTouch, { passive: true });
    add(keyEvents, onKey);
    add(hostEvents, onHostEvent);
    add(["pagehide"], onPageHide);
    add(["visibilitychange"], onVisibilityChange);
  }

  /** Only in the mode, because the browser scrolls more slowly with such listeners. */
  function listenForMoves() {
    addEventListener("wheel", onWheel, { capture: true, passive: false });
    addEventListener("scroll", onMove, { capture: true, passive: true });
    addEventListener("resize", onMove, { passive: true });
  }

  function ignoreMoves() {
    removeEventListener("wheel", onWheel, { capture: true });
    removeEventListener("scroll", onMove, { capture: true });
    removeEventListener("resize", onMove);
  }

  /**
   * Starts the mode, anew when it is on. `picked` is called with the selector; it is not when the
   * user leaves the mode. A document that is no web page, such as a drawing, has nothing to pick.
   */
  orvane.startPicking = (picked) => {
    leave();
    if (!(dom.root() instanceof HTMLElement)) return;
    listen();
    picking = new Picking((selector) => {
      picking = null;
      ignoreMoves();
      if (selector !== null) picked(selector);
    });
    listenForMoves();
  };

  listen();
}
