// The menus of a registry as a tree, in the order of the setup screens.

const DEEPEST_MENU = 64;

function order(value) {
  return value ?? Infinity;
}

/**
 * The tree's root: {path, title, above, below, settings, isHidden, isReadOnly, isGray}. Settings
 * without a menu are in one of their own, the last. A menu comes before those below it; menus and settings
 * beside each other have the order of their DisplayOrder, those without one last.
 */
export function buildMenus(settings) {
  const records = new Map();
  for (const record of settings.registry.menus) {
    if (!records.has(record.path)) {
      records.set(record.path, record);
    }
  }
  const make = (path, title, above) => ({ path, title, above, below: [], settings: [], order: Infinity,
    isHidden: above?.isHidden ?? false, isReadOnly: above?.isReadOnly ?? false, isGray: above?.isGray ?? false });
  const root = make("", "", null);
  const known = new Map();

  const withoutLastPart = (path) => path.substring(0, Math.max(0, path.lastIndexOf("/")));
  // A menu's name may contain a slash: the nearest path that the registry has is the one above.
  const pathAbove = (path) => {
    if (path.split("/").length > DEEPEST_MENU) {
      return "";
    }
    const nearest = withoutLastPart(path);
    for (let above = nearest; above !== ""; above = withoutLastPart(above)) {
      if (records.has(above)) {
        return above;
      }
    }
    return nearest;
  };
  const menuAt = (wanted) => {
    const missing = [];
    let above = root;
    for (let path = wanted; path !== "" && path !== "."; path = pathAbove(path)) {
      if (known.has(path)) {
        above = known.get(path);
        break;
      }
      missing.push(path);
    }
    for (const path of missing.reverse()) {
      const record = records.get(path);
      const start = above !== root && path.startsWith(`${above.path}/`) ? above.path.length + 1
        : path.lastIndexOf("/") + 1;
      const made = make(path, record?.displayName || path.substring(start) || path, above);
      made.order = order(record?.displayOrder);
      made.isHidden ||= record?.hidden ?? false;
      made.isReadOnly ||= record?.readOnly ?? false;
      made.isGray ||= record?.grayOut ?? false;
      above.below.push(made);
      known.set(path, made);
      above = made;
    }
    return above;
  };

  settings.registry.menus.forEach((record) => menuAt(record.path));
  for (const setting of settings.list) {
    const menu = menuAt(setting.menuPath);
    menu.settings.push(setting);
    setting.menu = menu;
  }
  const sort = (menu) => {
    // Sorting is stable.
    menu.below.sort((a, b) => (a.order === b.order ? 0 : a.order - b.order));
    menu.below.forEach(sort);
  };
  sort(root);
  if (root.settings.length > 0) {
    const rest = make(".", root.below.length === 0 ? "Settings" : "Other settings", root);
    rest.settings = root.settings;
    rest.settings.forEach((setting) => { setting.menu = rest; });
    root.settings = [];
    root.below.push(rest);
  }
  return root;
}

/** A menu's settings, in the order that they have now. */
export function orderedSettings(menu, settings) {
  return menu.settings
    .map((setting, i) => ({ setting, i, order: order(settings.property(setting, "DisplayOrder")) }))
    .sort((a, b) => (a.order === b.order ? a.i - b.i : a.order - b.order))
    .map(({ setting }) => setting);
}

/** The menu and all below it that are shown, each before those below it. */
export function menusBelow(menu) {
  return menu.isHidden ? [] : [menu, ...menu.below.flatMap(menusBelow)];
}

/** The titles of a menu and those above it: "Setup › Boot". */
export function fullTitle(menu) {
  const titles = [];
  for (let at = menu; at !== null && at.title !== ""; at = at.above) {
    titles.unshift(at.title);
  }
  return titles.join(" › ");
}
