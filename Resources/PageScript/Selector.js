"use strict";

// Makes the selector for an element that the user picks. It goes into a rule that outlives the
// visit, so it has to find the element in later versions of the page:
//
// - A name that the author gave the element comes first: its id, its class, an attribute. Then
//   come names of its ancestors, last its position. Names that a program drew by lot, and names of
//   a passing state, are not used.
// - A selector has to match the picked element alone, with two exceptions. A name that says
//   "advert" stands for all adverts of the page. And of equals, which nothing but their position
//   tells apart, all are taken: a position would name another one as soon as the list changes. In
//   both cases the matches have to be few, and none may hold the element or cover much of the page;
//   the picking mode shows all of them before the user decides.
// - Only plain selectors are made, because the browser drops a rule with one that it does not know
//   without a word.
{
  const { dom, names } = orvane;
  const escaped = CSS.escape;

  const few = 20;
  const longestSimple = 80;
  const longestAtAll = 1000;
  const largestShare = 1 / 3;
  const furthestAncestor = 5;

  /** A query looks at every element of the document, so a huge one gets few. */
  const hugeDocument = 20000;
  const queries = 60;
  const queriesInHugeDocument = 6;

  /**
   * The browser counts siblings anew for each element that a position is about, which takes seconds
   * in a list of a hundred thousand. No position is used where siblings are so many.
   */
  const mostSiblings = 1000;

  const quoted = (value) => `"${value.replace(/["\\]/g, escaped)}"`;
  const tagOf = (element) => escaped(dom.localName(element));
  const parentsOf = function* (element) {
    for (let node = dom.parent(element); node && node !== dom.body(); node = dom.parent(node)) {
      if (node === dom.root()) return;
      yield node;
    }
  };

  const areaOf = ({ width, height }) => width * height;

  /** The names in the class attribute; of a monstrous one only the first. */
  function classesOf(element) {
    const text = (dom.attribute(element, "class") ?? "").slice(0, 2000);
    return [...new Set(text.split(/[\t\n\f\r ]+/))].filter(Boolean).slice(0, 20);
  }

  const namingClasses = (element) =>
    classesOf(element).filter((name) => names.isStable(name) && names.saysWhat(name));

  /** Looks for one element; what it finds out about a selector is asked of the page once. */
  class Search {
    constructor(element) {
      this.element = element;
      this.known = new Map();
      this.left = dom.hasMoreElementsThan(hugeDocument) ? queriesInHugeDocument : queries;
    }

    /** What `selector` matches, when these are at most `most` and the element is one of them. */
    accept(selector, most, longest = longestSimple) {
      if (selector.length > longest || !dom.matches(this.element, selector)) return null;
      const matches = this.few(selector);
      if (!matches || matches.length > most) return null;
      return matches.every((match) => this.mayGo(match)) ? matches : null;
    }

    isUnique(element, selector) {
      if (selector.length > longestSimple || !dom.matches(element, selector)) return false;
      return this.few(selector)?.length === 1;
    }

    /** All that `selector` matches when these are few, otherwise null. */
    few(selector) {
      if (this.known.has(selector)) return this.known.get(selector);
      // The browser has an index of ids.
      if (!selector.startsWith("#")) {
        if (this.left === 0) return null;
        this.left -= 1;
      }
      const found = dom.all(selector);
      const matches = found.length <= few ? Array.from(found) : null;
      this.known.set(selector, matches);
      return matches;
    }

    mayGo(match) {
      if (match === this.element) return true;
      if (match === dom.root() || dom.contains(match, this.element)) return false;
      const root = dom.root();
      const page = dom.scrollWidth(root) * dom.scrollHeight(root);
      return areaOf(dom.box(match)) <= largestShare * page;
    }
  }

  function* ids(element) {
    const id = dom.attribute(element, "id") ?? "";
    if (names.isStable(id)) yield { selector: `#${escaped(id)}`, name: id };
  }

  function* classes(element) {
    for (const name of namingClasses(element)) yield { selector: `.${escaped(name)}`, name };
  }

  function* customTag(element) {
    const tag = dom.localName(element);
    if (tag.includes("-") && names.isStable(tag)) yield { selector: escaped(tag), name: tag };
  }

  /** Both classes of a pair may be common and yet meet on this element only. */
  function* classPairs(element) {
    const found = namingClasses(element).slice(0, 4);
    for (const [at, first] of found.entries()) {
      for (const second of found.slice(at + 1)) {
        yield { selector: `.${escaped(first)}.${escaped(second)}`, name: `${first} ${second}` };
      }
    }
  }

  /** The stable starts of ids and classes with a generated end. */
  function* nameStarts(element) {
    const id = dom.attribute(element, "id") ?? "";
    const idStart = names.isStable(id) ? "" : names.stableStart(id);
    if (idStart) yield { selector: `[id^=${quoted(idStart)}]`, name: idStart };
    for (const name of classesOf(element)) {
      const start = names.isStable(name) ? "" : names.stableStart(name);
      if (start) yield { selector: `[class*=${quoted(start)}]`, name: start };
    }
  }

  function* dataAttributes(element) {
    for (const attribute of dom.attributeNames(element).slice(0, 50)) {
      if (!/^data-[a-z][a-z0-9_-]{0,40}$/.test(attribute)) continue;
      if (!names.isStable(attribute.slice(5))) continue;
      const value = dom.attribute(element, attribute);
      if (names.isStable(value)) {
        yield { selector: `[${attribute}=${quoted(value)}]`, name: `${attribute} ${value}` };
      } else if (value === "" || names.isAdvertising(attribute)) {
        yield { selector: `[${attribute}]`, name: attribute };
      }
    }
  }

  function* textAttributes(element, attributes) {
    for (const attribute of attributes) {
      const value = dom.attribute(element, attribute) ?? "";
      if (!names.isStable(value)) continue;
      yield { selector: `${tagOf(element)}[${attribute}=${quoted(value)}]`, name: value };
    }
  }

  /** Where an element comes from: the host when it is another one than the page's, or the path. */
  function* addresses(element) {
    for (const attribute of ["src", "href", "data"]) {
      const value = (dom.attribute(element, attribute) ?? "").slice(0, 2000);
      const url = URL.canParse(value, dom.base()) ? new URL(value, dom.base()) : null;
      if (!url || !/^https?:$/.test(url.protocol)) continue;
      const tag = tagOf(element);
      if (url.host !== location.host) {
        if (!names.isPlain(url.host)) continue;
        const name = url.hostname;
        yield { selector: `${tag}[${attribute}*=${quoted(`//${url.host}/`)}]`, name };
        yield { selector: `${tag}[${attribute}*=${quoted(`//${url.host}`)}]`, name };
        continue;
      }
      const path = value.split(/[?#]/)[0];
      const folder = path.slice(0, path.lastIndexOf("/") + 1);
      // Other folders hold all pictures of the site.
      const isAdvertising = folder && names.isAdvertising(new URL(folder, dom.base()).pathname);
      for (const start of isAdvertising ? [folder, path] : [path]) {
        if (start.length < 4 || !names.isStable(start) || start === url.origin + "/") continue;
        yield { selector: `${tag}[${attribute}^=${quoted(start)}]`, name: start };
      }
    }
  }

  function* attributes(element) {
    yield* dataAttributes(element);
    yield* textAttributes(element, ["name", "role", "aria-label"]);
    yield* addresses(element);
    yield* textAttributes(element, ["title", "alt", "type"]);
  }

  function* ownNames(element) {
    yield* ids(element);
    yield* classes(element);
    yield* customTag(element);
    yield* classPairs(element);
    yield* attributes(element);
    yield* nameStarts(element);
  }

  /** "#menu > ul > li.offers": a named ancestor, and the way from there. */
  function* underAncestors(element) {
    const tag = tagOf(element);
    const ends = [...namingClasses(element).slice(0, 2).map((name) => `${tag}.${escaped(name)}`)];
    ends.push(tag);
    let way = "";
    let distance = 0;
    for (const ancestor of parentsOf(element)) {
      distance += 1;
      if (distance > furthestAncestor) return;
      const anchors = [...ids(ancestor), ...classes(ancestor), ...dataAttributes(ancestor)];
      for (const anchor of anchors.slice(0, 3)) {
        for (const end of ends) yield { selector: `${anchor.selector} > ${way}${end}` };
      }
      way = `${tagOf(ancestor)} > ${way}`;
    }
  }

  /** The classes that say how an element looks, taken together, are better than its position. */
  function* appearance(element) {
    const stable = classesOf(element).filter((name) => names.isStable(name)).slice(0, 8);
    for (let count = 1; count <= stable.length; ++count) {
      const chosen = stable.slice(0, count).map((name) => `.${escaped(name)}`);
      yield { selector: `${tagOf(element)}${chosen.join("")}` };
    }
  }

  /** The number of the element among its siblings of the same kind, from 1. */
  function numberOf(element) {
    const isAmongFirst = (count) => dom.matches(element, `:nth-of-type(-n + ${count})`);
    let high = 1;
    while (!isAmongFirst(high)) high *= 2;
    let low = Math.floor(high / 2) + 1;
    while (low < high) {
      const middle = Math.floor((low + high) / 2);
      if (isAmongFirst(middle)) high = middle;
      else low = middle + 1;
    }
    return high;
  }

  /** What tells the element from its siblings, or null where that takes the browser too long. */
  function stepTo(element) {
    const tag = tagOf(element);
    if (dom.matches(element, ":only-of-type")) return tag;
    if (dom.first(`${tag}:nth-of-type(${mostSiblings})`)) return null;
    return `${tag}:nth-of-type(${numberOf(element)})`;
  }

  /** A selector for this element alone that does not depend on its position. */
  function uniqueName(search, element) {
    for (const naming of [ids, classes, customTag, dataAttributes]) {
      for (const { selector } of naming(element)) {
        if (search.isUnique(element, selector)) return selector;
      }
    }
    return null;
  }

  /** The way from the nearest ancestor with a name, or from the body, by positions. */
  function byPosition(search, element) {
    let way = stepTo(element);
    for (let node = dom.parent(element); way !== null && node; node = dom.parent(node)) {
      const start =
        node === dom.body() || node === dom.root() ? tagOf(node) : uniqueName(search, node);
      const step = start ?? stepTo(node);
      if (step === null) return null;
      const longer = `${step} > ${way}`;
      if (longer.length > longestAtAll) break;
      way = longer;
      if (start) return { selector: way, matches: [element] };
    }
    if (way === null) return null;
    const matches = search.accept(way, few, longestAtAll);
    return matches && { selector: way, matches };
  }

  function firstAccepted(search, candidates, mostFor) {
    for (const candidate of candidates) {
      const matches = search.accept(candidate.selector, mostFor(candidate));
      if (matches) return { selector: candidate.selector, matches };
    }
    return null;
  }

  const one = () => 1;
  const fewAdverts = ({ name }) => (names.isAdvertising(name) ? few : 1);

  /**
   * The selector for `element` and the elements that it matches, as { selector, matches }; null
   * when there is none that would find the element again.
   */
  orvane.selectorFor = (element) => {
    const search = new Search(element);
    return (
      firstAccepted(search, ownNames(element), fewAdverts) ??
      firstAccepted(search, underAncestors(element), one) ??
      firstAccepted(search, classes(element), () => few) ??
      firstAccepted(search, appearance(element), one) ??
      byPosition(search, element)
    );
  };
}
