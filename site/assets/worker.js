// Browsers start no worker for a page that is read from a disk. There the search runs in a frame that nobody sees, which
// looks to it like the scope of a worker, and to the page like the worker.
if (location.protocol === "file:") {
  window.Worker = class extends EventTarget {
    constructor(url) {
      super();
      this.scope = new Promise((resolve) => {
        const frame = document.createElement("iframe");
        frame.hidden = true;
        document.body.appendChild(frame);
        const scope = frame.contentWindow;
        scope.postMessage = (data) => this.dispatchEvent(new MessageEvent("message", { data }));
        const script = frame.contentDocument.createElement("script");
        script.src = new URL(url, location);
        script.onload = () => resolve(scope);
        frame.contentDocument.body.appendChild(script);
      });
    }
    postMessage(data) {
      this.scope.then((scope) => scope.dispatchEvent(new scope.MessageEvent("message", { data })));
    }
    terminate() {}
  };
}
