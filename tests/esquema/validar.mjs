// Validates one JSON request body against a schema of OpenAI's published API description.
// Usage: node validar.mjs <openapi.json> <SchemaName> <body.json>
// Exit 0: valid; 1: invalid (the errors go to standard error); 2: could not run.
import { readFileSync } from "node:fs";
import Ajv2020 from "ajv/dist/2020.js";

const [, , documento, nome, corpo] = process.argv;
// OpenAPI 3.0's "nullable" becomes the JSON Schema way of saying the same thing.
function semNullable(no) {
  if (Array.isArray(no)) return no.map(semNullable);
  if (no === null || typeof no !== "object") return no;
  const saida = {};
  for (const [k, v] of Object.entries(no)) if (k !== "nullable") saida[k] = semNullable(v);
  if (no.nullable === true && typeof no.type === "string") saida.type = [no.type, "null"];
  return saida;
}

try {
  const api = semNullable(JSON.parse(readFileSync(documento, "utf8")));
  // OpenAPI adds keywords of its own (nullable, discriminator, x-…); they are not validation rules.
  const ajv = new Ajv2020({ strict: false, allErrors: true, validateFormats: false });
  ajv.addSchema({ $id: "openai", components: api.components });
  const validar = ajv.getSchema(`openai#/components/schemas/${nome}`);
  if (!validar) {
    console.error(`esquema não encontrado: ${nome}`);
    process.exit(2);
  }
  const dados = JSON.parse(readFileSync(corpo, "utf8"));
  if (validar(dados)) process.exit(0);
  console.error(JSON.stringify(validar.errors, null, 1));
  process.exit(1);
} catch (e) {
  console.error(String(e));
  process.exit(2);
}
