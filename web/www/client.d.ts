// The types of client.js. Every route, query key, body member and data
// member comes from types/openapi.d.ts, which scripts/www generates from the
// API document (openapi-typescript), so that they change with the document;
// nothing here names a route.
import type { paths } from './types/openapi.js';

type Prefix = '/api/v2/monitoring/';
type Method = 'get' | 'post' | 'put' | 'delete';
type HttpMethod = 'GET' | 'POST' | 'PUT' | 'DELETE';

type OperationAt<P, M extends Method> =
  P extends keyof paths ? (M extends keyof paths[P] ? NonNullable<paths[P][M]> : never) : never;

/** The routes (paths below /api/v2/monitoring/) that take method M. */
export type Route<M extends Method = Method> = {
  [P in keyof paths]: [OperationAt<P, M>] extends [never] ? never : P extends `${Prefix}${infer R}` ? R : never;
}[keyof paths];

/** The document's operation of a route and method. */
export type Operation<R extends string, M extends Method> = OperationAt<`${Prefix}${R}`, M>;

/** The query keys an operation reads. */
export type QueryOf<O> = O extends { parameters: { query?: infer Q } } ? NonNullable<Q> : never;

/** The JSON body of a POST or PUT. */
export type BodyOf<O> = O extends { requestBody?: { content: { 'application/json': infer B } } }
  ? [B] extends [never] ? Record<string, never> : B
  : Record<string, never>;

/** The whole answer: the data member on success, then resp. */
export type EnvelopeOf<O> = O extends { responses: { 200: { content: { 'application/json': infer E } } } } ? E : never;

// The members of each form of the envelope besides resp.
type DataMembers<E> = E extends unknown ? { [K in Exclude<keyof E, 'resp'>]: Exclude<E[K], undefined> }[Exclude<keyof E, 'resp'>] : never;

/** The data member of a successful answer; {} for a route that answers none. */
export type DataOf<O> = [DataMembers<EnvelopeOf<O>>] extends [never] ? Record<string, never> : DataMembers<EnvelopeOf<O>>;

/** The data of route R answered to method M (GET by default). */
export type Data<R extends Route<M>, M extends Method = 'get'> = DataOf<Operation<R, M>>;

export interface Resp {
  respCode: number;
  respMsg: string;
  status: string;
}

export interface RequestOptions {
  /** Sends Refresh: a repeated read that does not keep the session alive. */
  poll?: boolean;
}

// The query argument: required when the operation requires a key.
type QueryArgs<O, Rest extends unknown[]> = O extends { parameters: { query: infer Q } }
  ? [query: Q, ...Rest]
  : [query?: QueryOf<O>, ...Rest];

// A walk's key: query keys for GET, the body for POST.
type WalkKey<M, O> = M extends 'GET' ? Partial<QueryOf<O>> : BodyOf<O>;

export interface WalkOptions<Q> {
  /** Keys that every request of the walk carries besides the row's key. */
  query?: Q;
  poll?: boolean;
  limit?: number;
}

export interface WalkResult<D> {
  rows: D[];
  /** The resp of the last answer: NO_FURTHER_ROW (10023) at the table's end. */
  end: Resp;
  /** Set when the client stopped the walk; its message names the row. */
  stopped?: Error;
}

export const API_BASE: string;
export const NO_FURTHER_ROW: 10023;

export class SessionError extends Error {
  constructor(route: string);
  route: string;
}

export class PermissionError extends Error {
  constructor(route: string, method: string);
  route: string;
  method: string;
}

export class ApiError extends Error {
  constructor(route: string, code: number, msg: string);
  route: string;
  code: number;
  respMsg: string;
}

export class QueryError extends Error {
  constructor(route: string, key: string, value: unknown, why: string);
  route: string;
  key: string;
  value: unknown;
}

/**
 * A text of the switch that is not valid UTF-8: a String whose text is what
 * a browser shows, carrying the switch's own bytes. Texts in answers are
 * typed string; any of them may be a Bytes at run time.
 */
export class Bytes extends String {
  constructor(bytes: ArrayLike<number>);
  readonly bytes: Uint8Array;
  readonly hex: string;
}

export class Client {
  constructor(session: string | null, options?: { base?: string; fetch?: typeof fetch; probe?: string });
  session: string | null;
  base: string;
  fetch: typeof fetch;
  probe: string;

  get<R extends Route<'get'>>(route: R, ...args: QueryArgs<Operation<R, 'get'>, [opts?: RequestOptions]>):
    Promise<DataOf<Operation<R, 'get'>>>;
  post<R extends Route<'post'>>(route: R, body: BodyOf<Operation<R, 'post'>>,
    ...args: QueryArgs<Operation<R, 'post'>, [opts?: RequestOptions]>): Promise<DataOf<Operation<R, 'post'>>>;
  put<R extends Route<'put'>>(route: R, body: BodyOf<Operation<R, 'put'>>,
    ...args: QueryArgs<Operation<R, 'put'>, [opts?: RequestOptions]>): Promise<DataOf<Operation<R, 'put'>>>;
  delete<R extends Route<'delete'>>(route: R, ...args: QueryArgs<Operation<R, 'delete'>, [opts?: RequestOptions]>):
    Promise<DataOf<Operation<R, 'delete'>>>;

  data<M extends HttpMethod, R extends Route<Lowercase<M>>>(method: M, route: R,
    query: QueryOf<Operation<R, Lowercase<M>>> | undefined, body: BodyOf<Operation<R, Lowercase<M>>> | undefined,
    opts?: RequestOptions): Promise<DataOf<Operation<R, Lowercase<M>>>>;
  request<M extends HttpMethod, R extends Route<Lowercase<M>>>(method: M, route: R,
    query: QueryOf<Operation<R, Lowercase<M>>> | undefined, body: BodyOf<Operation<R, Lowercase<M>>> | undefined,
    opts?: RequestOptions): Promise<EnvelopeOf<Operation<R, Lowercase<M>>>>;

  walk<M extends 'GET' | 'POST', R extends Route<Lowercase<M>>>(method: M, route: R,
    first: WalkKey<M, Operation<R, Lowercase<M>>>,
    nextKey: (data: DataOf<Operation<R, Lowercase<M>>>) => WalkKey<M, Operation<R, Lowercase<M>>>,
    options?: WalkOptions<Partial<QueryOf<Operation<R, Lowercase<M>>>>>): Promise<WalkResult<DataOf<Operation<R, Lowercase<M>>>>>;
}
