// Notices that the server changed: by server-sent events, otherwise by asking again and again.

const EVENT_SERVICE = "/redfish/v1/EventService";
const POLL_PAUSE = 5000; // ms
const LONGEST_PAUSE = 30000; // ms between two attempts to open the stream
const GATHER_PAUSE = 150; // ms in which several events cause one update
const SILENCE = 60000; // ms without a byte after which the stream is taken for lost

/** Splits a stream of server-sent events. `take` gets the id and the data of each event. */
export class EventParser {
  #rest = "";
  #id = "";
  #data = [];

  constructor(take) {
    this.take = take;
  }

  add(text) {
    const lines = (this.#rest + text).split(/\r\n|\n|\r(?!$)/);
    this.#rest = lines.pop();
    lines.forEach((line) => this.#addLine(line));
  }

  #addLine(line) {
    if (line === "") {
      if (this.#data.length > 0) {
        this.take(this.#id, this.#data.join("\n"));
      }
      this.#data = [];
      return;
    }
    const colon = line.indexOf(":");
    const field = colon < 0 ? line : line.substring(0, colon);
    const value = colon < 0 ? "" : line.substring(colon + 1).replace(/^ /, "");
    if (field === "data") {
      this.#data.push(value);
    } else if (field === "id") {
      this.#id = value;
    }
  }
}

export class LiveUpdates {
  #stop = null;
  #lastId = "";
  #timer = 0;

  /** `update` reads the server again and returns a promise. `show` gets the state: "live",
   * "polling" or "offline". */
  constructor(api, { update, show }) {
    this.api = api;
    this.update = update;
    this.show = show;
  }

  start() {
    this.stop();
    this.#stop = new AbortController();
    this.#run(this.#stop.signal);
  }

  stop() {
    this.#stop?.abort();
    this.#stop = null;
    this.#lastId = "";
    clearTimeout(this.#timer);
  }

  async #run(signal) {
    let failures = 0;
    let nextAttempt = 0;
    while (!signal.aborted) {
      if (Date.now() >= nextAttempt) {
        if (await this.#readStream(signal)) {
          failures = 0;
        }
        ++failures;
        nextAttempt = Date.now() + Math.min(LONGEST_PAUSE, 500 * 2 ** Math.min(failures, 10)) *
          (0.75 + Math.random() / 2);
      }
      if (signal.aborted) {
        return;
      }
      await this.#poll();
      await this.#wait(Math.min(POLL_PAUSE, Math.max(0, nextAttempt - Date.now())), signal);
    }
  }

  #wait(milliseconds, signal) {
    return new Promise((resolve) => {
      const timer = setTimeout(resolve, milliseconds);
      signal.addEventListener("abort", () => {
        clearTimeout(timer);
        resolve();
      }, { once: true });
    });
  }

  async #poll() {
    try {
      await this.update();
      this.show("polling");
    } catch {
      this.show("offline");
    }
  }

  // Reads events until the stream ends. Returns whether it was one.
  async #readStream(signal) {
    const silence = new AbortController();
    const isOver = AbortSignal.any([signal, silence.signal]);
    let watch = 0;
    const heard = () => {
      clearTimeout(watch);
      watch = setTimeout(() => silence.abort(), SILENCE);
    };
    try {
      const service = await this.api.get(EVENT_SERVICE);
      const address = new URL(String(service?.ServerSentEventUri ?? ""), location.origin);
      if (!service?.ServerSentEventUri || address.origin !== location.origin) {
        return false;
      }
      heard();
      const response = await fetch(address.pathname + address.search, {
        headers: this.api.headers({ Accept: "text/event-stream",
          ...(this.#lastId === "" ? {} : { "Last-Event-ID": this.#lastId }) }),
        cache: "no-store",
        credentials: "omit",
        redirect: "error",
        signal: isOver,
      });
      if (!response.ok || !(response.headers.get("Content-Type") ?? "").startsWith("text/event-stream")) {
        await response.body?.cancel();
        return false;
      }
      // What happened before the stream began was not reported.
      await this.update();
      this.show("live");
      await this.#readEvents(response.body.getReader(), heard);
      return true;
    } catch {
      return false;
    } finally {
      clearTimeout(watch);
    }
  }

  async #readEvents(reader, heard) {
    const decoder = new TextDecoder();
    const parser = new EventParser((id) => {
      this.#lastId = id;
      this.#gather();
    });
    for (;;) {
      const { done, value } = await reader.read();
      if (done) {
        return;
      }
      heard();
      parser.add(decoder.decode(value, { stream: true }));
    }
  }

  #gather() {
    clearTimeout(this.#timer);
    this.#timer = setTimeout(() => {
      // The stream notices when the service is gone.
      this.update().catch(() => {});
    }, GATHER_PAUSE);
  }
}
