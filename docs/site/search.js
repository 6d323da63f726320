// Finds names and words in what search_index.js holds: rows of name, kind, page, text.
const box = document.getElementById("search");
const found = document.getElementById("found");
const root = document.body.dataset.root;
const kMost = 30;

// Smaller is better; undefined: not found.
function rank([name, , , text], words) {
  let sum = 0;
  for (const word of words) {
    const at = name.toLowerCase().indexOf(word);
    if (at < 0 && !text.toLowerCase().includes(word)) return undefined;
    sum += at < 0 ? 1000 : at + name.length - word.length;
  }
  return sum;
}

function show() {
  const words = box.value.toLowerCase().split(/\s+/).filter(Boolean);
  const ranked = words.length === 0 ? [] : searchIndex
    .map((row) => [rank(row, words), row]).filter(([at]) => at !== undefined)
    .sort(([a], [b]) => a - b).slice(0, kMost);
  found.replaceChildren(...ranked.map(([, [name, kind, page, text]]) => {
    const item = document.createElement("li");
    const link = document.createElement("a");
    link.href = root + page;
    const title = document.createElement("b");
    const where = document.createElement("i");
    title.textContent = name;
    where.textContent = kind;
    link.append(title, " ", where, document.createElement("br"), text.slice(0, 120));
    item.append(link);
    return item;
  }));
  found.hidden = words.length === 0;
}

box.addEventListener("input", show);
box.addEventListener("keydown", (event) => {
  if (event.key === "Enter") found.querySelector("a")?.click();
  if (event.key === "Escape") box.value = "", show();
});
document.addEventListener("keydown", (event) => {
  if (event.key === "/" && event.target !== box) event.preventDefault(), box.focus();
});
found.addEventListener("click", () => { found.hidden = true; });

// The contents stand open where there is room for them.
const menu = document.getElementById("menu");
const wide = matchMedia("(min-width: 60rem)");
wide.addEventListener("change", () => { menu.open = wide.matches; });
menu.open = wide.matches;

if (location.hash.startsWith("#search=")) box.value = decodeURIComponent(location.hash.slice(8)), show();
