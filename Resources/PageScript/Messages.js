"use strict";

// What the extension and the script of a page say to each other.
{
  /** The extension's name for this page, which it hears back with every message. */
  let page = "";

  function send(name, userInfo) {
    webkit.messageHandlers.orvane.postMessage({ page, name, userInfo });
  }

  const handlers = new Map([
    ["showSelector", () => orvane.startPicking((sel) => send("hideSelector", { sel }))],
    ["reloadIfNeeded", () => location.reload()],
  ]);

  orvane.receive = (name, token) => {
    page = String(token);
    handlers.get(name)?.();
  };
}
