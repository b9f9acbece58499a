"use strict";

// What the names in a page's markup are worth: whether they will be there after a reload, and
// whether they say what an element is or only how it looks.
{
  const longest = 60;

  const generators = new RegExp(
    "^(?:css|sc|jsx|jss|emotion|svelte|astro|styled|tss)[-_]|" +
      "^(?:ember|yui|ext|gwt|gen|uid|uuid|guid|auto|radix|headlessui|mui|chakra|mantine|react|" +
      "ng)(?:[-_:][a-z]*)*\\d",
  );
  const numbered = /\d{5,}|[0-9a-f]{8}-[0-9a-f]{4}-|:r[0-9a-z]*:/i;
  const measure = /^\d+x\d+$/;
  const state = new RegExp(
    "^(?:is|has|was|no)-|^in$|" +
      "(?:^|[-_])(?:active|inactive|hover|hovered|focus|focused|open|opened|close|closed|" +
      "selected|visible|invisible|hidden|show|shown|hide|current|enabled|disabled|checked|" +
      "expanded|collapsed|loading|loaded|lazy|lazyload|lazyloaded|animated|stuck|playing|" +
      "paused|ready)$",
  );
  const utility = new RegExp(
    "[:/\\[\\]!@]|^-|" +
      "^(?:[mp][trblxyse]?|[wh]|m(?:in|ax)-[wh]|z|top|left|right|bottom|inset|gap|text|bg|" +
      "space(?:-[xy])?|border|rounded|shadow|font|leading|tracking|items|justify|content|self|" +
      "place|cols?|rows?|grid(?:-(?:cols|rows))?|flex|order|opacity|overflow|object|cursor|" +
      "select|transition|duration|ease|d|g|float|align|position|ring|divide|aspect|basis|grow|" +
      "shrink|size|fs|fw|lh)" +
      "(?:-[xytrbl])?-(?:\\d[a-z0-9.]*|[a-z]{1,3}|auto|full|screen|none|center|middle|start|end|" +
      "between|around|evenly|left|right|top|bottom|wrap|nowrap|hidden|block|inline|grow|cover|" +
      "contain|base|bold|semibold|normal|medium|light|tight|relaxed|pointer|absolute|relative|" +
      "fixed|sticky|white|black|transparent|current|primary|secondary|muted|danger|success|" +
      "warning|info|colors|[a-z]+-\\d{2,3})$|" +
      "^(?:flex|grid|block|inline|inline-(?:block|flex)|absolute|relative|fixed|sticky|static|" +
      "container(?:-fluid)?|wrapper|inner|outer|rows?|cols?|columns?|clearfix|cf|left|right|" +
      "center|middle|top|bottom|first|last|odd|even|large|small|medium|big|bold|italic|underline|" +
      "truncate|uppercase|rounded|border|shadow|transition|grow|shrink)$",
  );
  const advertising = new RegExp(
    "^(?:ad|ads|adv|advert|adverts|advertisement|advertisements|advertising|adbox|adslot|adunit|" +
      "adspace|adframe|adserver|banner|banners|sponsor|sponsors|sponsored|promo|promos|promoted|" +
      "promotion|billboard|leaderboard|skyscraper|interstitial|outstream|popup|popunder|" +
      "newsletter|paywall|cookie|cookies|consent|gdpr|ccpa)$",
  );

  /** The words of "topAdSlot", "top-ad-slot" and "top_ad_slot", in small letters. */
  const wordsOf = (name) =>
    name
      .replace(/([a-z0-9])([A-Z])/g, "$1 $2")
      .toLowerCase()
      .split(/[^a-z0-9\u0080-\u{10ffff}]+/u);

  /** Whether a part such as "1x2y3z", "bdVaJa" or "7ba5bd90" looks drawn by lot. */
  function isRandom(part) {
    if (part.length < 5 || measure.test(part)) return false;
    const changes = part.match(/[A-Za-z](?=\d)|\d(?=[A-Za-z])/g)?.length ?? 0;
    if (changes >= 3) return true;
    const humps = part.match(/[a-z](?=[A-Z])/g)?.length ?? 0;
    if (humps >= 2 && part.length <= 2 * (humps + 1)) return true;
    const longestWord = Math.max(0, ...(part.match(/[a-z]+/g) ?? []).map((word) => word.length));
    if (changes > 0 && longestWord < 3) return true;
    return /^[b-df-hj-np-tv-xz]{6,}$/i.test(part);
  }

  /** Text that can stand in a rule: short, and without anything that cannot be seen. */
  const isPlain = (text) =>
    text.length > 0 && text.length <= longest && !/[\p{C}\p{Zl}\p{Zp}]/u.test(text);

  const isGenerated = (name) =>
    generators.test(name) ||
    numbered.test(name) ||
    !/\p{L}/u.test(name) ||
    name.split(/[^A-Za-z0-9]+/).some(isRandom);

  /** Whether a name says that an element is an advert, or another thing that gets hidden. */
  const isAdvertising = (name) => wordsOf(name).some((word) => advertising.test(word));

  orvane.names = {
    isPlain,

    /** Whether a name is likely to be there, with the same meaning, after a reload. */
    isStable: (name) => isPlain(name) && !isGenerated(name) && !state.test(name),

    /** Whether a class says what an element is; "mt-4" and "flex" only say how it looks. */
    saysWhat: (name) => !utility.test(name) || isAdvertising(name),

    isAdvertising,

    /** "Card_title__" of "Card_title__3xYzA": what stays of a name with a generated end, or "". */
    stableStart(name) {
      if (name.length > longest || generators.test(name)) return "";
      const start = name.match(/^(?:[A-Za-z]+[-_]+)+(?=[A-Za-z0-9:])/)?.[0] ?? "";
      const parts = start.match(/[A-Za-z]+[-_]+/g) ?? [];
      const random = parts.findIndex((part) => isRandom(part.replace(/[-_]+$/, "")));
      const stable = parts.slice(0, random < 0 ? parts.length : random).join("");
      return stable.replace(/[-_]/g, "").length >= 6 ? stable : "";
    },
  };
}
