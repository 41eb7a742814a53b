// Requests to the Redfish service, with the token of a session.

const SESSION_KEY = "session";
const TASK_PAUSE = 500; // ms between two questions whether a task is done
const TIMEOUT = 60000; // ms for a request

/** The service could not be reached, or its answer could not be read. */
export class ConnectionProblem extends Error {}

/** The service refused a request. */
export class Refusal extends Error {
  constructor(answer) {
    super(messagesOf(answer.body).map((message) => message.Message).filter(Boolean).join(" ") ||
      `The service answered with status ${answer.status}.`);
    this.status = answer.status;
    this.messages = messagesOf(answer.body);
    const change = this.messages.find((message) => isMessage(message, "PasswordChangeRequired"));
    /** The account whose password has to be changed before anything else; empty: there is none. */
    this.accountToChange = this.status === 403 && change !== undefined ? String(change.MessageArgs?.[0] ?? "") : "";
    this.retryAfter = Number(answer.headers.get("Retry-After")) || 0;
  }
}

/** Whether nothing can be done before the user logs in again or changes the password. */
export function needsLogin(problem) {
  return problem instanceof Refusal && (problem.status === 401 || problem.accountToChange !== "");
}

/** The messages of an answer, of a resource or of an error. */
export function messagesOf(body) {
  const list = (body?.error ?? body)?.["@Message.ExtendedInfo"];
  return Array.isArray(list) ? list.filter((message) => message !== null && typeof message === "object") : [];
}

/** Whether a message is the one of the Base registry with this name. */
export function isMessage(message, name) {
  return String(message.MessageId ?? "").split(".").pop() === name;
}

function wait(milliseconds) {
  return new Promise((resolve) => { setTimeout(resolve, milliseconds); });
}

// Only paths of this service are followed.
function localPath(address) {
  const url = new URL(address, location.origin);
  if (url.origin !== location.origin) {
    throw new ConnectionProblem("The service refers to another server.");
  }
  return url.pathname + url.search;
}

export class ApiClient {
  #session = null;

  /** `onLogout` is called when the service no longer accepts the session, and `onPasswordChange` with
   * the path of the user's account when its password has to be changed first. */
  constructor({ onLogout, onPasswordChange }) {
    this.onLogout = onLogout;
    this.onPasswordChange = onPasswordChange;
    try {
      this.#session = JSON.parse(sessionStorage.getItem(SESSION_KEY));
    } catch {
      this.#session = null;
    }
  }

  get session() {
    return this.#session;
  }

  #keep(session) {
    this.#session = session;
    if (session === null) {
      sessionStorage.removeItem(SESSION_KEY);
    } else {
      sessionStorage.setItem(SESSION_KEY, JSON.stringify(session));
    }
  }

  /** The fields that every request has. */
  headers(more = {}) {
    const token = this.#session?.token;
    return { "OData-Version": "4.0", ...(token ? { "X-Auth-Token": token } : {}), ...more };
  }

  /** Sends a request; the answer is {status, headers, body, etag}, whatever the status. */
  async send(method, path, { body, headers = {}, signal } = {}) {
    let response;
    let text;
    try {
      response = await fetch(localPath(path), {
        method,
        headers: this.headers(body === undefined ? headers : { "Content-Type": "application/json", ...headers }),
        body: body === undefined ? undefined : JSON.stringify(body),
        cache: "no-store",
        credentials: "omit",
        redirect: "error",
        signal: signal ?? AbortSignal.timeout(TIMEOUT),
      });
      text = await response.text();
    } catch (problem) {
      if (problem instanceof ConnectionProblem) {
        throw problem;
      }
      throw new ConnectionProblem("The service does not answer.");
    }
    let parsed = null;
    try {
      parsed = text === "" ? null : JSON.parse(text);
    } catch {
      throw new ConnectionProblem("The service answered something that is not JSON.");
    }
    return { status: response.status, headers: response.headers, body: parsed,
      etag: response.headers.get("ETag") ?? "" };
  }

  /** Like `send`; waits for a task, and throws what is not a success. */
  async request(method, path, options = {}) {
    const token = this.#session?.token;
    let answer = await this.send(method, path, options);
    while (answer.status === 202 && answer.headers.has("Location")) {
      await wait(TASK_PAUSE);
      answer = await this.send("GET", answer.headers.get("Location"));
    }
    if (answer.status === 401 && token !== undefined && token === this.#session?.token) {
      this.#keep(null);
      this.onLogout();
    }
    if (answer.status >= 400) {
      const refusal = new Refusal(answer);
      if (refusal.accountToChange !== "" && token === this.#session?.token) {
        this.onPasswordChange(refusal.accountToChange);
      }
      throw refusal;
    }
    return answer;
  }

  /** A resource. */
  async get(path) {
    return (await this.request("GET", path)).body;
  }

  /** A resource with its ETag, or null if it still has `etag`. */
  async getUnless(path, etag) {
    const answer = await this.request("GET", path, { headers: etag ? { "If-None-Match": etag } : {} });
    return answer.status === 304 ? null : answer;
  }

  /** Logs in. Returns the path of the account whose password has to be changed first, or null. */
  async logIn(user, password) {
    const answer = await this.send("POST", "/redfish/v1/SessionService/Sessions", {
      body: { UserName: user, Password: password },
    });
    const token = answer.headers.get("X-Auth-Token");
    const path = answer.headers.get("Location");
    if (answer.status !== 201 || !token || !path) {
      throw new Refusal(answer);
    }
    const roles = answer.body?.Roles;
    this.#keep({ token, path: localPath(path), user: String(answer.body?.UserName ?? user),
      role: Array.isArray(roles) && roles.length > 0 ? String(roles[0]) : "" });
    const change = messagesOf(answer.body).find((message) => isMessage(message, "PasswordChangeRequired"));
    return change === undefined ? null : String(change.MessageArgs?.[0] ?? "");
  }

  /** Ends the session. */
  async logOut() {
    const session = this.#session;
    if (session !== null) {
      try {
        await this.send("DELETE", session.path);
      } finally {
        this.#keep(null);
      }
    }
  }
}
