// Small helpers for building what is shown. Text is always set as text, never as markup.

function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (name.startsWith("on")) element.addEventListener(name.slice(2), value);
    else if (name === "style") for (const [key, text] of Object.entries(value)) element.style.setProperty(key, text);
    else if (value !== false && value != null) element.setAttribute(name, value === true ? "" : value);
  }
  element.append(...children.flat().filter((child) => child != null));
  return element;
}

const byId = (id) => document.getElementById(id);

const tip = {
  show(text, x, y) {
    const box = byId("tip");
    box.textContent = text;
    box.hidden = false;
    const { width, height } = box.getBoundingClientRect();
    box.style.left = `${Math.max(4, Math.min(x + 14, innerWidth - width - 8))}px`;
    box.style.top = `${y + 18 + height > innerHeight ? y - height - 10 : y + 18}px`;
  },
  hide() { byId("tip").hidden = true; },
};
