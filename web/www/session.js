// Where the page and the explorer find their session. ./run prints links that
// carry a fresh session once, in the fragment (#session=ID), which browsers
// never send to the server; it moves into the tab's session storage and out
// of the address bar, so that it is neither bookmarked nor shown. On the
// switch the login page stores the session instead.

const KEY = 'monitoring.session';

export function takeSession() {
  const match = /(?:^#|&)session=([^&]*)/.exec(location.hash);
  if (match) {
    keepSession(decodeURIComponent(match[1]));
    history.replaceState(null, '', location.pathname + location.search);
  }
  return sessionStorage.getItem(KEY);
}

export function keepSession(id) {
  sessionStorage.setItem(KEY, id);
}
