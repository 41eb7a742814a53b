// The setup page: logs in, then shows the setup.

import { ApiClient, ConnectionProblem } from "./api_client.js";
import { SetupPage } from "./setup_page.js";

const at = (id) => document.getElementById(id);

let page = null;

function showLogin(reason = "") {
  at("setup").hidden = true;
  at("login").hidden = false;
  at("login-form").hidden = false;
  at("password-form").hidden = true;
  at("login-error").textContent = reason;
  at("login-password").value = "";
  document.title = "Log in – Server setup";
  const user = at("login-user");
  (user.value === "" ? user : at("login-password")).focus();
}

const api = new ApiClient(() => {
  page?.pause();
  showLogin("The session has ended. Log in again; changes that are not saved are kept.");
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

let accountPath = "";

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
    accountPath = account;
    at("login-form").hidden = true;
    at("password-form").hidden = false;
    at("new-password").focus();
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

if (api.session === null) {
  showLogin();
} else {
  submit(at("login-button"), at("login-error"), showSetup);
}
