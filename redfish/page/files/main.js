// The setup page: logs in, then shows the setup.

import { ApiClient, ConnectionProblem } from "./api_client.js";
import { closeDialogs } from "./dialogs.js";
import { SetupPage } from "./setup_page.js";

const at = (id) => document.getElementById(id);

let page = null;
let accountPath = ""; // of the account whose password has to be changed

// Shows one of the forms instead of the setup.
function showForm(id) {
  closeDialogs();
  at("setup").hidden = true;
  at("login").hidden = false;
  for (const each of ["login-form", "password-form"]) {
    at(each).hidden = each !== id;
  }
}

function showLogin(reason = "") {
  showForm("login-form");
  at("login-error").textContent = reason;
  at("login-password").value = "";
  document.title = "Log in – Server setup";
  const user = at("login-user");
  (user.value === "" ? user : at("login-password")).focus();
}

function showPasswordChange(account) {
  accountPath = account;
  showForm("password-form");
  at("password-error").textContent = "";
  document.title = "New password – Server setup";
  at("new-password").focus();
}

const api = new ApiClient({
  onLogout: () => {
    page?.pause();
    showLogin(page?.hasEdits ? "The session has ended. Log in again; changes that are not saved are kept."
      : "The session has ended. Log in again.");
  },
  onPasswordChange: (account) => {
    page?.pause();
    showPasswordChange(account);
  },
});

async function showSetup() {
  at("login").hidden = true;
  at("setup").hidden = false;
  // What another user edited is not kept.
  if (page !== null && page.user !== api.session.user) {
    page.end();
    page = null;
  }
  page ??= new SetupPage(api, () => {
    page.end();
    page = null;
    showLogin();
    at("login-error").textContent = "";
    at("login-reason").textContent = "You are logged out.";
  });
  await page.resume();
}

// Runs what a form does, with its button disabled meanwhile.
async function submit(button, error, act) {
  error.textContent = "";
  button.disabled = true;
  try {
    await act();
  } catch (problem) {
    error.textContent = problem instanceof ConnectionProblem || problem.status !== undefined
      ? problem.message : "Something went wrong in the page. Reload it.";
    if (problem.status === undefined && !(problem instanceof ConnectionProblem)) {
      console.error(problem);
    }
  } finally {
    button.disabled = false;
  }
}

at("login-form").addEventListener("submit", (event) => {
  event.preventDefault();
  const user = at("login-user");
  const password = at("login-password");
  const missing = [user, password].find(({ value }) => value === "");
  if (missing !== undefined) {
    at("login-error").textContent = missing === user ? "Enter a user name." : "Enter the password.";
    missing.focus();
    return;
  }
  submit(at("login-button"), at("login-error"), async () => {
    const account = await api.logIn(user.value, password.value);
    password.value = "";
    if (account === null) {
      await showSetup();
      return;
    }
    showPasswordChange(account);
  });
});

at("password-form").addEventListener("submit", (event) => {
  event.preventDefault();
  const first = at("new-password");
  const second = at("new-password-again");
  if (first.value !== second.value || first.value === "") {
    at("password-error").textContent = first.value === "" ? "Enter a password." : "The two are not the same.";
    first.focus();
    return;
  }
  submit(at("password-button"), at("password-error"), async () => {
    const user = api.session.user;
    const password = first.value;
    await api.request("PATCH", accountPath, { body: { Password: password } });
    first.value = second.value = "";
    // Sessions end when the password changes.
    await api.logIn(user, password);
    await showSetup();
  });
});

at("password-cancel").addEventListener("click", () =>
  submit(at("password-cancel"), at("password-error"), async () => {
    await api.logOut();
    showLogin();
  }));

if (api.session === null) {
  showLogin();
} else {
  submit(at("login-button"), at("login-error"), showSetup);
}
