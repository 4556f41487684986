// Recordings as a reader of others sees them.
// recording.mjs read FILE       a line of JSON for each message, by the index: topic, schema, sequence, times, and the
//                               leaves of what it holds, decoded by the schema that stands in FILE: "header.seq_num=7"
// recording.mjs stream FILE     the same from front to back, with all checksums looked at
// recording.mjs copy FILE INTO  writes all of it anew, and a file "notes.txt" within it
// recording.mjs files FILE      a line of JSON for each file within it
import { readFileSync, writeFileSync } from "node:fs";
import { parseIDL } from "@foxglove/omgidl-parser";
import { MessageReader } from "@foxglove/omgidl-serialization";
import zstd from "@foxglove/wasm-zstd";
import { McapIndexedReader, McapStreamReader, McapWriter, TempBuffer } from "@mcap/core";

const [, , verb, file, into] = process.argv;
await zstd.isLoaded;
const decompressHandlers = { zstd: (bytes, size) => zstd.decompress(bytes, Number(size)) };
const bytes = readFileSync(file);

// An underscore in front is IDL's escape and no part of a name.
function addLeaves(leaves, path, value) {
  if (ArrayBuffer.isView(value)) value = Array.from(value);
  if (Array.isArray(value)) for (const element of value) addLeaves(leaves, path, element);
  else if (typeof value === "object")
    for (const [name, inner] of Object.entries(value))
      addLeaves(leaves, (path ? path + "." : "") + name.replace(/^_/, ""), inner);
  else leaves.push(`${path}=${typeof value === "boolean" ? Number(value) : value}`);
}

const readers = new Map();
function leavesOf(schema, data) {
  if (schema?.encoding !== "omgidl") return [];
  if (!readers.has(schema.id)) {
    const definitions = parseIDL(new TextDecoder().decode(schema.data));
    readers.set(schema.id, new MessageReader(schema.name, definitions));
  }
  const leaves = [];
  addLeaves(leaves, "", readers.get(schema.id).readMessage(data));
  return leaves;
}

function show(message, channel, schema) {
  const { sequence, logTime, publishTime, data } = message;
  console.log(JSON.stringify({
    topic: channel.topic,
    encoding: channel.messageEncoding,
    schema: schema?.name ?? "",
    sequence,
    logTime: String(logTime),
    publishTime: String(publishTime),
    data: Buffer.from(data).toString("hex"),
    leaves: leavesOf(schema, data),
  }));
}

async function indexed() {
  const readable = {
    size: async () => BigInt(bytes.length),
    read: async (offset, size) => new Uint8Array(bytes.subarray(Number(offset), Number(offset + size))),
  };
  return await McapIndexedReader.Initialize({ readable, decompressHandlers });
}

if (verb === "read") {
  const reader = await indexed();
  for await (const message of reader.readMessages({ validateCrcs: true })) {
    const channel = reader.channelsById.get(message.channelId);
    show(message, channel, reader.schemasById.get(channel.schemaId));
  }
} else if (verb === "files") {
  const reader = await indexed();
  for await (const { name, mediaType, data } of reader.readAttachments({ validateCrcs: true }))
    console.log(JSON.stringify({ name, mediaType, text: new TextDecoder().decode(data) }));
} else if (verb === "stream") {
  const schemas = new Map(), channels = new Map();
  const reader = new McapStreamReader({ decompressHandlers, validateCrcs: true });
  reader.append(new Uint8Array(bytes));
  for (let record; (record = reader.nextRecord()); ) {
    if (record.type === "Schema") schemas.set(record.id, record);
    if (record.type === "Channel") channels.set(record.id, record);
    if (record.type !== "Message") continue;
    const channel = channels.get(record.channelId);
    show(record, channel, schemas.get(channel.schemaId));
  }
  if (!reader.done()) throw new Error("the recording has no end");
} else if (verb === "copy") {
  const reader = await indexed();
  const writable = new TempBuffer();
  const compressChunk = (chunk) => ({ compression: "zstd", compressedData: zstd.compress(chunk, 3) });
  const writer = new McapWriter({ writable, compressChunk, chunkSize: 1000 });
  await writer.start({ profile: "", library: "foreign" });
  const schemas = new Map([[0, 0]]), channels = new Map();
  for (const schema of reader.schemasById.values()) schemas.set(schema.id, await writer.registerSchema(schema));
  for (const channel of reader.channelsById.values())
    channels.set(channel.id, await writer.registerChannel({ ...channel, schemaId: schemas.get(channel.schemaId) }));
  for await (const message of reader.readMessages())
    await writer.addMessage({ ...message, channelId: channels.get(message.channelId) });
  const data = new TextEncoder().encode("what was noted");
  await writer.addAttachment({ name: "notes.txt", mediaType: "text/plain", logTime: 1n, createTime: 1n, data });
  await writer.end();
  writeFileSync(into, writable.get());
}
