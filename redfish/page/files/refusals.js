// Which settings the messages of a refused change are about.

const PREFIX = "/Attributes/";

// The setting that a JSON pointer names, or null.
function settingAt(pointer) {
  const path = pointer.startsWith("#") ? pointer.substring(1) : pointer;
  if (!path.startsWith(PREFIX)) {
    return null;
  }
  return path.substring(PREFIX.length).split("/")[0].replaceAll("~1", "/").replaceAll("~0", "~");
}

/** Sorts messages: `bySetting` has lists of texts by the setting's name, `others` texts. */
export function sortMessages(messages, isSetting) {
  const bySetting = new Map();
  const others = [];
  for (const message of messages) {
    const text = String(message.Message ?? message.MessageId ?? "");
    const related = Array.isArray(message.RelatedProperties) ? message.RelatedProperties : [];
    const names = related.map((pointer) => settingAt(String(pointer)))
      .filter((name) => name !== null && isSetting(name));
    for (const name of new Set(names)) {
      bySetting.set(name, [...(bySetting.get(name) ?? []), text]);
    }
    if (names.length === 0 && text !== "") {
      others.push(text);
    }
  }
  return { bySetting, others };
}
