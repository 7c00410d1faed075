// The search of an index page. It reads the nodes from the page itself, so that it works without a server. The words
// of a query must all be found; names count more than keywords, and these more than other words.

(() => {
  "use strict";

  const form = document.getElementById("search");
  const query = document.getElementById("query");
  const found = document.getElementById("found");
  const count = document.getElementById("count");
  const results = document.getElementById("results");
  const all = document.getElementById("all");

  const nodes = [...all.querySelectorAll("li.node")].map((item) => ({
    item,
    name: item.dataset.name.toLowerCase(),
    keywords: item.dataset.keywords.toLowerCase(),
    text: (item.textContent + " " + item.closest("section").firstElementChild.textContent).toLowerCase(), // and its kind
  }));

  const scoreOfWord = (node, word) => {
    if (node.name === word) return 16;
    if (node.name.startsWith(word)) return 8;
    if (node.name.includes(word)) return 4;
    if (node.keywords.includes(word)) return 2;
    return node.text.includes(word) ? 1 : 0;
  };

  const score = (node, words) => {
    const scores = words.map((word) => scoreOfWord(node, word));
    return scores.includes(0) ? 0 : scores.reduce((sum, one) => sum + one, 0);
  };

  const search = () => {
    const words = query.value.toLowerCase().split(/[\s,]+/).filter(Boolean);
    const hits = nodes
      .map((node) => ({ node, score: score(node, words) }))
      .filter((hit) => hit.score > 0)
      .sort((a, b) => b.score - a.score); // stable: equals stay in the page's order
    results.replaceChildren(...hits.map((hit) => hit.node.item.cloneNode(true)));
    found.hidden = words.length === 0;
    all.hidden = words.length > 0;
    count.textContent = words.length === 0 ? "" : hits.length === 1 ? "1 node found" : `${hits.length} nodes found`;
  };

  // The arrow keys walk through the field and the results.
  const step = (offset) => {
    const stops = [query, ...results.querySelectorAll("a")];
    const at = stops.indexOf(document.activeElement);
    const next = at < 0 ? undefined : stops[at + offset];
    if (next) next.focus();
    return Boolean(next);
  };

  const openFirst = (event) => {
    event.preventDefault();
    const first = results.querySelector("a");
    if (first) first.click();
  };

  const onKey = (event) => {
    if (event.ctrlKey || event.altKey || event.metaKey) return;
    if (event.key === "/" && document.activeElement !== query) {
      query.focus();
      event.preventDefault();
    } else if (event.key === "ArrowDown" || event.key === "ArrowUp") {
      if (!found.hidden && step(event.key === "ArrowDown" ? 1 : -1)) event.preventDefault();
    } else if (event.key === "Escape" && !found.hidden) {
      query.value = "";
      search();
      query.focus();
    }
  };

  form.addEventListener("submit", openFirst);
  query.addEventListener("input", search);
  document.addEventListener("keydown", onKey);
  query.value = new URLSearchParams(location.search).get("q") ?? query.value; // from the field of a node's page
  search();
})();
