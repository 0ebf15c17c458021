// Swagger UI over the generated API document, with the session from ./run's
// link already entered, so that "Try it out" works on every route at once.
// The filter finds operations by path, summary or family; a link to one
// operation (#/family/operationId) opens it.
import { takeSession } from '../session.js';

const session = takeSession();

// Swagger UI's own filter matches family names only.
const OperationFilter = () => ({
  fn: {
    opsFilter: (taggedOps, phrase) => {
      const words = phrase.toLowerCase().split(/\s+/).filter(Boolean);
      const matches = (tag, op) => {
        const text = [tag, op.get('path'), op.get('method'), op.getIn(['operation', 'summary']),
          op.getIn(['operation', 'operationId'])].join(' ').toLowerCase();
        return words.every((word) => text.includes(word));
      };
      return taggedOps
        .map((tagObj, tag) => tagObj.set('operations', tagObj.get('operations').filter((op) => matches(tag, op))))
        .filter((tagObj) => tagObj.get('operations').size > 0);
    },
  },
});

// An operation's path is drawn as a link inside the button that opens it,
// which keyboards and screen readers cannot tell apart. The button opens it
// and writes its link (#/family/operationId) into the address bar anyway.
const PlainOperationPaths = () => ({
  wrapComponents: {
    DeepLink: (Original, system) => (props) =>
      system.React.createElement(Original, { ...props, enabled: props.enabled && !String(props.path).includes('/') }),
  },
});

const ui = globalThis.SwaggerUIBundle({
  url: '/openapi.json',
  dom_id: '#swagger-ui',
  // The default validator badge asks a server on the internet.
  validatorUrl: null,
  tryItOutEnabled: true,
  // Its colours on dark grey are too faint to read; plain text is not.
  syntaxHighlight: false,
  // The families first, closed: a list of twelve to choose from rather
  // than a page of 366 operations.
  docExpansion: 'none',
  filter: true,
  deepLinking: true,
  displayOperationId: false,
  // No sorter: the families come in the order the document lists them,
  // the order people look for them in, the instrumentation placeholders last.
  plugins: [OperationFilter, PlainOperationPaths],
  onComplete: () => {
    if (session) ui.preauthorizeApiKey('session', session);
  },
});

// Swagger UI leaves its server list, filter box, body editor and the
// fields of parameters without a name that screen readers can announce.
const named = {
  '.servers select': () => 'Server',
  'input.operation-filter-input': () => 'Filter operations by path, summary or family',
  '.body-param textarea': () => 'Request body (JSON)',
  'tr[data-param-name] select, tr[data-param-name] input': (field) => {
    const row = field.closest('tr');
    return `${row.dataset.paramName} (${row.dataset.paramIn})`;
  },
};
new MutationObserver(() => {
  for (const [selector, name] of Object.entries(named)) {
    for (const field of document.querySelectorAll(selector)) {
      if (!field.hasAttribute('aria-label')) field.setAttribute('aria-label', name(field));
    }
  }
}).observe(document.getElementById('swagger-ui'), { childList: true, subtree: true });
