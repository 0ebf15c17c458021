// Where the page and the explorer find their session. ./run prints links that
// carry a fresh session once, in the fragment (#session=ID), which browsers
// never send to the server; it moves into the tab's session storage and out
// of the address bar, so that it is neither bookmarked nor shown. On the
// switch the login page stores the session instead.

const KEY = 'monitoring.session';

// A link cut short or mangled in a mail (#session=%E0%A4%A) carries no
// session: the page then says so rather than dying on the bad escape.
export function takeSession() {
  const match = /(?:^#|&)session=([^&]*)/.exec(location.hash);
  if (match) {
    let id = null;
    try {
      id = decodeURIComponent(match[1]);
    } catch {
      // not a percent-encoded text: no session
    }
    if (id) keepSession(id);
    else sessionStorage.removeItem(KEY);
    history.replaceState(null, '', location.pathname + location.search);
  }
  return sessionStorage.getItem(KEY);
}

/** @param {string} id */
export function keepSession(id) {
  sessionStorage.setItem(KEY, id);
}
