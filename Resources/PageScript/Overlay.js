"use strict";

// What the user sees of the picking mode: boxes over all elements that would go, and a panel.
//
// It lives in a shadow tree that the page cannot look into, and in the top layer, above everything
// of the page. A style sheet object and single properties style it, because a page may forbid style
// in text. The host covers the window: a pointer over a frame would otherwise be the frame's alone.
{
  const { dom } = orvane;

  // An important declaration for :host is stronger than any that the page can make for the host.
  const style = `
    :host {
      all: initial !important;
      position: fixed !important;
      inset: 0 !important;
      direction: ltr !important;
      cursor: crosshair !important;
      color-scheme: light dark !important;
      --match: #c62828;
      --ground: #ffffff;
      --text: #1b1c20;
      --quiet: #55585f;
      --line: #b4b7be;
      --code: #f0f1f4;
    }
    @media (prefers-color-scheme: dark) {
      :host {
        --match: #ff7b72;
        --ground: #202226;
        --text: #f2f3f5;
        --quiet: #b9bcc4;
        --line: #5a5e67;
        --code: #303339;
      }
    }
    .match, .panel { position: fixed; box-sizing: border-box; pointer-events: none; }
    .match {
      border: 2px dashed var(--match);
      background: color-mix(in srgb, var(--match) 18%, transparent);
      box-shadow: 0 0 0 1px var(--ground);
    }
    .match.strongest {
      border: 3px solid var(--match);
      background: color-mix(in srgb, var(--match) 40%, transparent);
    }
    .panel {
      inset: auto 0 16px 0;
      margin: 0 auto;
      width: fit-content;
      max-width: min(36rem, calc(100vw - 32px));
      max-height: calc(100vh - 32px);
      overflow: hidden;
      padding: 12px 16px;
      border: 1px solid var(--line);
      border-radius: 10px;
      background: var(--ground);
      color: var(--text);
      box-shadow: 0 6px 24px rgb(0 0 0 / 35%);
      font: 15px/1.45 system-ui, sans-serif;
      text-align: start;
    }
    .panel.above { inset: 16px 0 auto 0; }
    .selector {
      display: -webkit-box;
      -webkit-box-orient: vertical;
      -webkit-line-clamp: 3;
      overflow: hidden;
      padding: 0 6px;
      border-radius: 5px;
      background: var(--code);
      font-family: ui-monospace, monospace;
      font-size: 14px;
      overflow-wrap: anywhere;
      unicode-bidi: isolate;
    }
    .selector:empty { display: none; }
    .count { margin: 4px 0 8px; font-weight: 600; }
    .hints { display: flex; flex-wrap: wrap; gap: 4px 16px; color: var(--quiet); font-size: 13px; }
    .hints span { white-space: nowrap; }
    kbd {
      padding: 0 5px;
      border: 1px solid var(--line);
      border-radius: 4px;
      color: var(--text);
      font: inherit;
    }
  `;

  const hints = [
    [["Click", "Enter"], "hides"],
    [["↑"], "wider"],
    [["↓"], "narrower"],
    [["Esc"], "leaves"],
  ];

  /** The panel keeps this far from the pointer. */
  const panelDistance = 24;

  function make(name, className, parent, text = "") {
    const element = dom.create(name);
    element.className = className;
    element.textContent = text;
    parent.append(element);
    return element;
  }

  /** Elements that only hold what floats, or have no box of their own, are as large as that. */
  function boxOf(element) {
    const box = dom.box(element);
    if (box.width > 0 && box.height > 0) return box;
    const range = dom.range();
    range.selectNodeContents(element);
    return range.getBoundingClientRect();
  }

  const hosts = new WeakSet();

  class Overlay {
    #host = dom.create("div");
    #focused = dom.activeElement();
    #shadow = this.#host.attachShadow({ mode: "closed" });
    #boxes = [];
    #panel;
    #selector;
    #count;

    constructor() {
      hosts.add(this.#host);
      const sheet = new CSSStyleSheet();
      sheet.replaceSync(style);
      this.#shadow.adoptedStyleSheets = [sheet];
      this.#makePanel();
      this.#host.popover = "manual";
      // With the focus here, keys do not go to a frame or into a field of the page.
      this.#host.tabIndex = -1;
      dom.append(dom.root(), this.#host);
      this.#host.showPopover();
      this.#host.focus({ preventScroll: true });
    }

    #makePanel() {
      this.#panel = make("div", "panel", this.#shadow);
      this.#panel.lang = "en";
      const status = make("div", "status", this.#panel);
      status.role = "status";
      this.#selector = make("div", "selector", status);
      this.#count = make("div", "count", status);
      const line = make("div", "hints", this.#panel);
      for (const [keys, meaning] of hints) {
        const hint = make("span", "", line);
        for (const key of keys) {
          make("kbd", "", hint, key);
          hint.append(" ");
        }
        hint.append(meaning);
      }
    }

    /** The page can take the host away or out of the top layer. */
    get isThere() {
      return dom.isConnected(this.#host) && this.#host.matches(":popover-open");
    }

    /** Whether `node` is what the page sees of an overlay. */
    static isHost(node) {
      return hosts.has(node);
    }

    close() {
      // Before the host goes, so that the event that the page would hear of names the host.
      if (this.#focused instanceof HTMLElement) dom.focus(this.#focused, { preventScroll: true });
      this.#host.remove();
    }

    /** Says `text`, and shows `selector` when there is one. */
    say(text, selector = "") {
      this.#selector.textContent = selector;
      this.#count.textContent = text;
    }

    /** Draws a box over each of `elements`, a stronger one over `strongest`. */
    highlight(elements, strongest) {
      while (this.#boxes.length > elements.length) this.#boxes.pop().remove();
      while (this.#boxes.length < elements.length) {
        const box = make("div", "match", this.#shadow);
        this.#shadow.insertBefore(box, this.#panel);
        this.#boxes.push(box);
      }
      for (const [at, element] of elements.entries()) {
        const { left, top, width, height } = boxOf(element);
        const box = this.#boxes[at];
        box.className = element === strongest ? "match strongest" : "match";
        for (const [property, value] of Object.entries({ left, top, width, height })) {
          box.style.setProperty(property, `${value}px`);
        }
      }
    }

    /** Moves the panel to the other end of the window when the pointer comes near. */
    keepClearOf(x, y) {
      const { left, right, top, bottom } = this.#panel.getBoundingClientRect();
      const isNear =
        x > left - panelDistance &&
        x < right + panelDistance &&
        y > top - panelDistance &&
        y < bottom + panelDistance;
      if (isNear) this.#panel.classList.toggle("above", y > innerHeight / 2);
    }
  }

  orvane.Overlay = Overlay;
}
