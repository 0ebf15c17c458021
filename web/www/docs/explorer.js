// Swagger UI over the generated API document, with the session from ./run's
// link already entered, so that "Try it out" works on every route at once.
import { takeSession } from '../session.js';

const session = takeSession();
const ui = globalThis.SwaggerUIBundle({
  url: '/openapi.json',
  dom_id: '#swagger-ui',
  // The default validator badge asks a server on the internet.
  validatorUrl: null,
  tryItOutEnabled: true,
  onComplete: () => {
    if (session) ui.preauthorizeApiKey('session', session);
  },
});
