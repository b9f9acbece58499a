"use strict";

// The one global of this world; the files after this one add to it. A document that is written anew
// gets the scripts again in the same world, so the global is replaced, not declared.
Object.defineProperty(globalThis, "orvane", { value: Object.create(null), configurable: true });

{
  // A page's scripts cannot change the prototypes of this world, but the names of its forms, fields
  // and pictures shadow what `document` and forms inherit in every world: after
  // <img name=querySelector>, document.querySelector is a picture. So nothing of a page is read but
  // through these.
  const getter = (prototype, name) => {
    const { get } = Object.getOwnPropertyDescriptor(prototype, name);
    return (object) => Reflect.apply(get, object, []);
  };
  const method = (prototype, name) => {
    const { value } = Object.getOwnPropertyDescriptor(prototype, name);
    return (object, ...values) => Reflect.apply(value, object, values);
  };

  const bodyOf = getter(Document.prototype, "body");
  const rootOf = getter(Document.prototype, "documentElement");
  const elementsFromPoint = method(Document.prototype, "elementsFromPoint");
  const querySelector = method(Document.prototype, "querySelector");
  const querySelectorAll = method(Document.prototype, "querySelectorAll");
  const elementsByTagName = method(Document.prototype, "getElementsByTagName");
  const createElement = method(Document.prototype, "createElementNS");
  const createRange = method(Document.prototype, "createRange");
  const activeElementOf = getter(Document.prototype, "activeElement");
  const visibilityOf = getter(Document.prototype, "visibilityState");
  const baseOf = getter(Node.prototype, "baseURI");

  orvane.dom = {
    html: "http://www.w3.org/1999/xhtml",

    body: () => bodyOf(document),
    root: () => rootOf(document),
    elementsAt: (x, y) => elementsFromPoint(document, x, y),
    first: (selector) => querySelector(document, selector),
    all: (selector) => querySelectorAll(document, selector),
    hasMoreElementsThan: (count) => elementsByTagName(document, "*").item(count) !== null,
    create: (name) => createElement(document, orvane.dom.html, name),
    base: () => baseOf(document),
    range: () => createRange(document),
    activeElement: () => activeElementOf(document),
    isHidden: () => visibilityOf(document) === "hidden",

    append: method(Node.prototype, "appendChild"),
    contains: method(Node.prototype, "contains"),
    isConnected: getter(Node.prototype, "isConnected"),
    parent: getter(Node.prototype, "parentElement"),
    attribute: method(Element.prototype, "getAttribute"),
    attributeNames: method(Element.prototype, "getAttributeNames"),
    localName: getter(Element.prototype, "localName"),
    matches: method(Element.prototype, "matches"),
    box: method(Element.prototype, "getBoundingClientRect"),
    scrollBy: method(Element.prototype, "scrollBy"),
    scrollWidth: getter(Element.prototype, "scrollWidth"),
    scrollHeight: getter(Element.prototype, "scrollHeight"),
    clientHeight: getter(Element.prototype, "clientHeight"),
    focus: method(HTMLElement.prototype, "focus"),
    svgAround: getter(SVGElement.prototype, "ownerSVGElement"),
  };
}
