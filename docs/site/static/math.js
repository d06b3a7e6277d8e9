// Typesets the formulas of a page with the KaTeX that lies beside this file.
(() => {
  const katex = new URL("katex/", document.currentScript.src);
  const load = (name) => new Promise((done) => {
    const script = document.createElement("script");
    script.src = new URL(name, katex);
    script.onload = done;
    document.head.append(script);
  });
  const style = document.createElement("link");
  style.rel = "stylesheet";
  style.href = new URL("katex.min.css", katex);
  document.head.append(style);
  load("katex.min.js").then(() => load("contrib/auto-render.js")).then(() => {
    for (const element of document.querySelectorAll(".math"))
      renderMathInElement(element, {delimiters: [
        {left: "\\(", right: "\\)", display: false},
        {left: "\\[", right: "\\]", display: true},
      ]});
  });
})();
