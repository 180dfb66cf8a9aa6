// Searches titles and texts of all pages, also for words inside names: "copyfile", "timeout".
(() => {
    const places = window.MIROVAN_PLACES; // [title, page and anchor, text in lower case]

    function found(words) {
        const hits = [];
        for (const [title, target, text] of places) {
            const name = title.toLowerCase();
            if (!words.every(word => name.includes(word) || text.includes(word)))
                continue;
            const inName = words.filter(word => name.includes(word)).length;
            hits.push([inName * 1000 - name.length, title, target]);
        }
        return hits.sort((one, other) => other[0] - one[0]).slice(0, 30);
    }

    function show(box, list) {
        const words = box.value.toLowerCase().split(/\s+/).filter(Boolean);
        list.replaceChildren();
        list.hidden = words.length === 0;
        for (const [, title, target] of words.length ? found(words) : []) {
            const link = document.createElement("a");
            link.href = target;
            link.textContent = title;
            list.append(link);
        }
        if (words.length && !list.children.length)
            list.textContent = "Nothing has " + words.join(" and ") + ".";
    }

    document.addEventListener("DOMContentLoaded", () => {
        const box = document.getElementById("find");
        const list = document.getElementById("found");
        box.addEventListener("input", () => show(box, list));
        box.addEventListener("keydown", event => {
            if (event.key === "Enter" && list.firstElementChild instanceof HTMLAnchorElement)
                location.href = list.firstElementChild.href;
            if (event.key === "Escape") {
                box.value = "";
                show(box, list);
            }
        });
        document.addEventListener("keydown", event => {
            if (event.key === "/" && !(event.target instanceof HTMLInputElement)) {
                event.preventDefault();
                box.focus();
            }
        });
    });
})();
