// Modal dialogs.

import { button, element, newId } from "./dom.js";

/**
 * Shows a dialog and waits for its end. `actions` are {label, value, kind}; the result is the value of
 * the chosen one, or null after Escape. The first action without a kind gets the focus.
 */
export function showDialog({ title, content, actions, wide = false }) {
  return new Promise((resolve) => {
    const titleId = newId("dialog");
    const dialog = element("dialog", { class: wide ? "dialog wide" : "dialog", "aria-labelledby": titleId });
    const close = (value) => {
      dialog.close();
      dialog.remove();
      resolve(value);
    };
    const buttons = actions.map(({ label, value, kind = "", isDisabled = false }) =>
      button(label, { class: kind, disabled: isDisabled, onclick: () => close(value) }));
    dialog.append(
      element("h2", { id: titleId }, title),
      element("div", { class: "dialog-content" }, ...content),
      element("div", { class: "dialog-buttons" }, ...buttons),
    );
    dialog.addEventListener("cancel", (event) => {
      event.preventDefault();
      close(null);
    });
    document.body.append(dialog);
    dialog.showModal();
    const calm = actions.findIndex(({ kind = "", isDisabled }) => kind === "" && !isDisabled);
    buttons[Math.max(calm, 0)].focus();
  });
}

/** Ends the dialogs that are open, as Escape does. */
export function closeDialogs() {
  document.querySelectorAll("dialog[open]").forEach((dialog) => {
    dialog.dispatchEvent(new Event("cancel", { cancelable: true }));
  });
}

/** Asks whether to do something that cannot be taken back. */
export async function confirmAction({ title, content, label, kind = "danger" }) {
  const answer = await showDialog({
    title,
    content,
    actions: [{ label: "Cancel", value: false }, { label, value: true, kind }],
  });
  return answer === true;
}

/** Lets the user choose a file; null if none was chosen. */
export function chooseFile(accept) {
  return new Promise((resolve) => {
    const input = element("input", { type: "file", accept, class: "hidden-text", id: "state-file",
      "aria-label": "Desired state", tabIndex: -1 });
    const finish = () => {
      const [file = null] = input.files;
      input.remove();
      resolve(file);
    };
    input.addEventListener("change", finish);
    input.addEventListener("cancel", finish);
    document.body.append(input);
    input.click();
  });
}

/** Offers a text as a file to the user. */
export function offerFile(name, text) {
  const address = URL.createObjectURL(new Blob([text], { type: "application/json" }));
  const link = element("a", { href: address, download: name, class: "hidden-text" });
  document.body.append(link);
  link.click();
  link.remove();
  setTimeout(() => URL.revokeObjectURL(address), 60000);
}
