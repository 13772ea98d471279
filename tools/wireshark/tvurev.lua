-- SPDX-License-Identifier: Apache-2.0
-- Shows recordings of the simulated host (lab/run --pcap, mox-sim --pcap) in
-- Wireshark and tshark: what goes over the BMC's channels (link type USER0) and
-- what the daemon receives from host agents (USER1). docs/protocol-chif.md and
-- docs/protocol-agentx.md show the bytes.
--
--   tshark -X lua_script:tools/wireshark/tvurev.lua -r DIR/channel.pcap
--
-- A field is named after its constant in wire/chif.h, wire/kcs.h, wire/agentx.h or
-- lab/capture/record_header.h: chif::session_reply::kErrcode is
-- chif.session_reply.errcode; those of a header are chif.pktsize and so on. What the
-- daemon would not take is marked with an expert item that says what it does instead.
-- Nothing is read before it was seen to be there, so that no packet, however damaged,
-- is an error of this script.
--
-- One file, although it is long: Wireshark runs every Lua file of its plugin folder
-- by itself, in no promised order, and -X lua_script names a single one.

local record = Proto("tvurev_record", "Record of the simulated host")
local chif = Proto("chif", "CHIF")
local notify = Proto("tvurev_notify", "AgentX notification, as the daemon reads it")
local agent = Proto("tvurev_agent", "Host agent")

-- Wireshark's own, for PDUs that are not forwarded. Of a Notify PDU it reads one
-- binding and calls the rest malformed (as of 4.0).
local agentx = Dissector.get("agentx")

local PACKET_MAX = 4096
local HEADER_SIZE = 8
local BODY_START = 16
local RESPONSE_BIT = 0x8000
local SVC_KCS = 1

-- What else codes stand for.
local DIRECTIONS = { [0] = "written by the host", [1] = "read by the host" }
local SERVICES = { [0] = "utility query", [1] = "KCS", [13] = "reverse-proxy session" }
local COMMANDS = {
  [0x0000] = "KCS request", [0x8000] = "KCS response",
  [0x0002] = "BMC status query", [0x8002] = "BMC status response",
  [0x0032] = "IPv4 address query", [0x8032] = "IPv4 address response",
  [0x0120] = "IPv6 address query", [0x8120] = "IPv6 address response",
  [0x0093] = "short session request", [0x8093] = "short session reply",
  [0x0193] = "session request", [0x8193] = "session reply",
  [0x0094] = "status", [0x8094] = "short status response", [0x8194] = "status response",
  [0x0095] = "log text", [0x8095] = "log text acknowledged",
  [0x0195] = "shutdown request", [0x8195] = "shutdown request acknowledged",
  [0x0194] = "notification",  -- as every other that comes from the BMC
}
local HELLO, BYE, CONNECT = 1, 2, 3
local SUBCOMMANDS = { [HELLO] = "hello", [BYE] = "goodbye", [CONNECT] = "connect" }
local NVRAM_GET, NVRAM_SET, NVRAM_NOT_FOUND = 4, 5, 0x88
local OPERATIONS = { [NVRAM_GET] = "get", [NVRAM_SET] = "set" }
local STATUSES = { [0] = "success", [NVRAM_NOT_FOUND] = "no such variable" }
local COMPLETIONS = { [0] = "success", [0xC1] = "invalid command" }
local STATES = { [0] = "usable" }
local NVRAM_NETWORK_FUNCTION, NVRAM_COMMAND = 0x36, 0x02
local NOTIFY, AGENTX_HEADER_SIZE, NOTIFICATION_MAX = 12, 20, 4096
local NON_DEFAULT_CONTEXT, NETWORK_BYTE_ORDER = 0x08, 0x10
local SNMP_TRAP_OID = "1.3.6.1.6.3.1.1.4.1"
-- Of a value's type: its name and how the value travels.
local TYPES = {
  [2] = { "INTEGER", "integer" }, [4] = { "OCTET STRING", "octets" }, [5] = { "Null", "nothing" },
  [6] = { "OBJECT IDENTIFIER", "object_id" }, [64] = { "IpAddress", "address" },
  [65] = { "Counter32", "word" }, [66] = { "Gauge32", "word" }, [67] = { "TimeTicks", "word" },
  [68] = { "Opaque", "octets" }, [70] = { "Counter64", "counter64" },
  [128] = { "noSuchObject", "nothing" }, [129] = { "noSuchInstance", "nothing" },
  [130] = { "endOfMibView", "nothing" },
}
local TYPE_NAMES = {}
for code, kind in pairs(TYPES) do
  TYPE_NAMES[code] = kind[1]
end
local DEC, HEX, NONE = base.DEC, base.HEX, base.NONE

-- One row a field: name, offset, width, type, label, base, meanings, mask. Width 0
-- is for what has no fixed one, and for what is not in the bytes at all. Offsets of
-- NVRAM fields count from the KCS data.
local function rows_of(proto, prefix, rows)
  local fields, list = {}, {}
  for _, row in ipairs(rows) do
    local name, at, size, kind, label, how, meanings, mask = table.unpack(row, 1, 8)
    local abbreviation = prefix .. "." .. name
    local field
    if kind == "bool" then
      field = ProtoField.bool(abbreviation, label, how, nil, mask)
    elseif kind == "framenum" or kind == "relative_time" or kind == "ipv4" or kind == "ipv6"
      or kind == "string" or kind == "bytes" then
      field = ProtoField[kind](abbreviation, label, how)
    else
      field = ProtoField[kind](abbreviation, label, how, meanings, mask)
    end
    fields[name] = { at = at, size = size, field = field }
    list[#list + 1] = field
  end
  proto.fields = list
  return fields
end

local RECORD = rows_of(record, "tvurev_record", {
  { "version", 0, 1, "uint8", "Version", DEC },
  { "direction", 1, 1, "uint8", "Direction", DEC, DIRECTIONS },
  { "source", 4, 4, "uint32", "Channel or process", DEC },
})
local RECORD_SIZE, RECORD_VERSION, WRITTEN = 8, 1, 0

local CHIF = rows_of(chif, "chif", {
  { "channel", 0, 0, "uint32", "Channel", DEC },
  { "request_in", 0, 0, "framenum", "Request in", NONE },
  { "response_in", 0, 0, "framenum", "Response in", NONE },
  { "time", 0, 0, "relative_time", "Time since the request", NONE },
  { "data", 0, 0, "bytes", "Data", NONE },

  { "pktsize", 0, 2, "uint16", "Packet size", DEC },
  { "seqno", 2, 2, "uint16", "Sequence number", DEC },
  { "cmdno", 4, 2, "uint16", "Command", HEX, COMMANDS },
  { "svc", 6, 2, "uint16", "Service", DEC, SERVICES },

  { "session_request.subcommand", 8, 2, "uint16", "Subcommand", DEC, SUBCOMMANDS },
  { "session_request.value", 10, 2, "uint16", "Value", DEC },
  { "session_request.parameter", 12, 4, "uint32", "Parameter", DEC },
  { "session_reply.errcode", 8, 4, "uint32", "Error", DEC },
  { "session_reply.idx", 12, 2, "uint16", "Index", DEC },
  { "session_reply.more", 14, 2, "uint16", "More replies follow", DEC },

  { "notification.errcode", 8, 4, "uint32", "Error", DEC },
  { "notification.agentx_resp_len", 12, 4, "uint32", "Length of the PDU", DEC },
  { "notification.pdu", 16, 0, "bytes", "AgentX PDU", NONE },

  { "log_text.length", 8, 2, "uint16", "Length of the text", DEC },
  { "log_text.text", 16, 0, "string", "Text", base.ASCII },

  { "shutdown.action", 8, 4, "uint32", "Action", HEX },
  { "shutdown.reboot", 8, 4, "bool", "Reboot", 32, nil, 0x1 },
  { "shutdown.abort", 8, 4, "bool", "Abort", 32, nil, 0x2 },
  { "shutdown.meaning", 8, 0, "string", "Meaning", base.ASCII },
  { "shutdown.delay", 12, 4, "int32", "Delay in seconds", DEC },
  { "shutdown.reason", 16, 0, "string", "Reason", base.ASCII },

  { "mox_status.firmware_version", 16, 2, "uint16", "Firmware version", HEX },
  { "mox_status.firmware_date", 18, 4, "uint32", "Firmware date", HEX },
  { "mox_status.application", 71, 1, "int8", "Generation", DEC },

  { "ipv4_address.last_octet", 32, 4, "ipv4", "IPv4 address", NONE },

  { "ipv6_address.error", 8, 4, "uint32", "Error", DEC },
  { "ipv6_address.options", 12, 4, "uint32", "Options", HEX },
  { "ipv6_address.ipv6_enabled", 12, 4, "bool", "IPv6 enabled", 32, nil, 0x1 },
  { "ipv6_address.ipv4_enabled", 12, 4, "bool", "IPv4 enabled", 32, nil, 0x2 },
  { "ipv6_address.first_address", 20, 16, "ipv6", "Address", NONE },
  { "ipv6_address.first_state", 38, 1, "uint8", "State", DEC, STATES },

  { "kcs.network_function", 8, 1, "uint8", "Network function", HEX, nil, 0xFC },
  { "kcs.command", 9, 1, "uint8", "Command", HEX },
  { "kcs.request.data", 10, 0, "bytes", "Data", NONE },
  { "kcs.response.completion_code", 10, 1, "uint8", "Completion code", HEX, COMPLETIONS },
  { "kcs.response.data", 11, 0, "bytes", "Data", NONE },

  { "nvram.request.operation", 0, 1, "uint8", "Operation", DEC, OPERATIONS },
  { "nvram.request.length", 1, 2, "uint16", "Length", DEC },
  { "nvram.request.name", 3, 0, "string", "Variable", base.ASCII },
  { "nvram.request.value", 0, 0, "bytes", "Value", NONE },
  { "nvram.response.name", 0, 0, "string", "Variable", base.ASCII },
  { "nvram.response.status", 1, 1, "uint8", "Status", HEX, STATUSES },
  { "nvram.response.length", 2, 2, "uint16", "Length", DEC },
  { "nvram.response.value", 4, 0, "bytes", "Value", NONE },
})
local IPV6_ENTRIES, IPV6_ENTRY_SIZE = 12, 20
local KCS_PACKET_SIZE = 512

local NOTIFY_ROWS = rows_of(notify, "tvurev_notify", {
  { "version", 0, 1, "uint8", "Version", DEC },
  { "type", 1, 1, "uint8", "PDU type", DEC, { [NOTIFY] = "Notify" } },
  { "flags", 2, 1, "uint8", "Flags", HEX },
  { "session_id", 4, 4, "uint32", "Session", DEC },
  { "transaction_id", 8, 4, "uint32", "Transaction", DEC },
  { "packet_id", 12, 4, "uint32", "Packet", DEC },
  { "payload_length", 16, 4, "uint32", "Bytes of bindings", DEC },
  { "trap_oid", 0, 0, "string", "Trap", base.ASCII },

  { "binding.type", 0, 2, "uint16", "Type", DEC, TYPE_NAMES },
  { "binding.name_subids", 4, 1, "uint8", "Sub-identifiers of the name", DEC },
  { "binding.name_prefix", 5, 1, "uint8", "Prefix of the name", DEC },
  { "binding.name", 8, 0, "string", "Name", base.ASCII },
  { "value.integer", 0, 4, "int32", "Value", DEC },
  { "value.word", 0, 4, "uint32", "Value", DEC },
  { "value.counter64", 0, 8, "uint64", "Value", DEC },
  { "value.object_id", 4, 0, "string", "Value", base.ASCII },
  { "value.address", 4, 4, "ipv4", "Value", NONE },
  { "value.text", 4, 0, "string", "Value as text", base.ASCII },
  { "octets.length", 0, 4, "uint32", "Length of the value", DEC },
  { "octets.octets", 4, 0, "bytes", "Value", NONE },
  { "object_id.subids", 0, 1, "uint8", "Sub-identifiers of the value", DEC },
  { "object_id.prefix", 1, 1, "uint8", "Prefix of the value", DEC },
})

local AGENT = rows_of(agent, "tvurev_agent", {
  { "process", 0, 0, "uint32", "Process", DEC },
  { "pdu", 0, 0, "bytes", "AgentX PDU", NONE },
  { "rest", 0, 0, "bytes", "Behind the PDU", NONE },
})

-- Expert items, by kind; each gets its text where it is used.
local function experts_of(proto, prefix, kinds)
  local items, list = {}, {}
  for name, kind in pairs(kinds) do
    local group, severity, label = table.unpack(kind)
    items[name] = ProtoExpert.new(prefix .. ".expert." .. name, label, group, severity)
    list[#list + 1] = items[name]
  end
  proto.experts = list
  return items
end
local RECORD_EXPERT = experts_of(record, "tvurev_record", {
  malformed = { expert.group.MALFORMED, expert.severity.ERROR, "Malformed record" },
})
local KINDS = {
  malformed = { expert.group.MALFORMED, expert.severity.ERROR, "Malformed packet" },
  ignored = { expert.group.PROTOCOL, expert.severity.WARN, "Taken otherwise than it was meant" },
  failure = { expert.group.RESPONSE_CODE, expert.severity.WARN, "Failure" },
  unexpected = { expert.group.SEQUENCE, expert.severity.NOTE, "Unexpected packet" },
}
local CHIF_EXPERT = experts_of(chif, "chif", KINDS)
local NOTIFY_EXPERT = experts_of(notify, "tvurev_notify", KINDS)
local AGENT_EXPERT = experts_of(agent, "tvurev_agent", KINDS)

local function mark(tree, kind, text)
  tree:add_proto_expert_info(CHIF_EXPERT[kind], text)
end

-- Adds a fixed field that is known to be there. Returns its value, if it is one of
-- up to four bytes, and its item.
local function add_row(tree, bytes, row, from)
  local range = bytes:range(row.at + (from or 0), row.size)
  local item = tree:add_le(row.field, range)
  return row.size <= 4 and range:le_uint() or nil, item
end

-- The same for a field of CHIF; where the packet ends before it, marks that and
-- returns nothing.
local function add(tree, bytes, name, from)
  local row = CHIF[name]
  if row.at + (from or 0) + row.size > bytes:len() then
    mark(tree, "malformed", "The packet ends before " .. name)
    return nil
  end
  return add_row(tree, bytes, row, from)
end

-- Adds what lies between two offsets, as far as the packet goes; nothing where
-- that is nothing.
local function add_span(tree, field, bytes, from, to)
  to = math.min(to or bytes:len(), bytes:len())
  return from < to and tree:add(field, bytes:range(from, to - from)) or nil
end

-- The same for a text that ends with a zero byte, or with the span. Returns it and
-- the offset of its end.
local function add_text(tree, field, bytes, from, to)
  to = math.min(to or bytes:len(), bytes:len())
  if from >= to then
    return "", from
  end
  local text = bytes:range(from, to - from):raw():match("^[^%z]*")
  local printable = text:gsub("[^ -~]", "?")
  tree:add(field, bytes:range(from, math.max(#text, 1)), printable)
  return printable, from + #text
end

local function add_generated(tree, field, value)
  tree:add(field, value):set_generated()
end

-- Requests and replies. What waits for a reply is kept a channel; what was found
-- is kept a frame, so that it is there when the frame is shown again.
local waiting, links = {}, {}

function chif.init()
  waiting, links = {}, {}
end

local function waiting_at(channel)
  waiting[channel] = waiting[channel] or {}
  return waiting[channel]
end

-- Keeps a request under a key. A later one of the same key takes its place,
-- unless they are acknowledged in their order.
local function remember(packet, key, about, in_order)
  if packet.pinfo.visited then
    return
  end
  local request = about or {}
  request.frame, request.time, request.replies = packet.pinfo.number, packet.pinfo.rel_ts, {}
  links[request.frame] = { request = request }
  local requests = waiting_at(packet.channel)
  if not in_order or not requests[key] then
    requests[key] = {}
  end
  table.insert(requests[key], request)
end

-- Links a reply to the first request of the first key that has one, which then
-- waits no longer unless more replies follow.
local function resolve(packet, keys, more_follow)
  local requests = waiting_at(packet.channel)
  for _, key in ipairs(packet.pinfo.visited and {} or keys) do
    local request = requests[key] and requests[key][1]
    if request then
      table.insert(request.replies, packet.pinfo.number)
      links[packet.pinfo.number] = { reply_to = request }
      if not more_follow then
        table.remove(requests[key], 1)
      end
      break
    end
  end
  local link = links[packet.pinfo.number]
  if not link then
    mark(packet.tree, "unexpected", "No request that this answers was seen")
  end
  return link and link.reply_to
end

local function show_links(packet)
  local link = links[packet.pinfo.number] or {}
  for _, frame in ipairs(link.request and link.request.replies or {}) do
    add_generated(packet.tree, CHIF["response_in"].field, frame)
  end
  if link.reply_to then
    local seconds = packet.pinfo.rel_ts - link.reply_to.time
    local whole = math.floor(seconds)
    add_generated(packet.tree, CHIF["request_in"].field, link.reply_to.frame)
    add_generated(packet.tree, CHIF["time"].field,
      NSTime.new(whole, math.floor((seconds - whole) * 1e9 + 0.5)))
  end
end

-- Notifications. What the daemon makes of one that is not as it must be is marked.

local function mark_notify(tree, kind, text)
  tree:add_proto_expert_info(NOTIFY_EXPERT[kind], text)
end

local function has_flag(flags, flag)
  return math.floor(flags / flag) % 2 == 1
end

-- The text of an object identifier as the daemon writes it, with its arcs from an
-- offset on; nothing where the PDU ends before the last of them.
local function oid_text(tree, pdu, prefix, subids, from)
  if from + 4 * subids > pdu:len() then
    return nil
  end
  local arcs = { "1.3.6.1", prefix }
  for i = 0, subids - 1 do
    local arc = pdu:range(from + 4 * i, 4):le_uint()
    if arc > 999999 then
      mark_notify(tree, "ignored", "The daemon reads no more than six digits of an arc")
    end
    arcs[#arcs + 1] = string.format("%d", arc)
  end
  return table.concat(arcs, ".")
end

-- Values, a function a form: each adds the value that begins at an offset and
-- returns its text and its length, or nothing where the PDU ends before it does.
local VALUES = {}

local function add_number(name, as_number)
  return function(tree, pdu, at)
    local row = NOTIFY_ROWS["value." .. name]
    if at + row.size > pdu:len() then
      return nil
    end
    add_row(tree, pdu, row, at)
    return tostring(as_number(pdu:range(at, row.size))), row.size
  end
end
VALUES.integer = add_number("integer", function(range) return range:le_int() end)
VALUES.word = add_number("word", function(range) return range:le_uint() end)
VALUES.counter64 = add_number("counter64", function(range) return range:le_uint64() end)

function VALUES.nothing()
  return "", 0
end

function VALUES.object_id(tree, pdu, at)
  if at + 4 > pdu:len() then
    return nil
  end
  local subids = add_row(tree, pdu, NOTIFY_ROWS["object_id.subids"], at)
  local prefix = add_row(tree, pdu, NOTIFY_ROWS["object_id.prefix"], at)
  local text = oid_text(tree, pdu, prefix, subids, at + 4)
  if text then
    tree:add(NOTIFY_ROWS["value.object_id"].field, pdu:range(at, 4 + 4 * subids), text)
  end
  return text, 4 + 4 * subids
end

-- A counted value: adds its length and octets. Returns where it ends.
local function add_octets(tree, pdu, at)
  local length = at + 4 <= pdu:len() and add_row(tree, pdu, NOTIFY_ROWS["octets.length"], at)
  if not length or at + 4 + length > pdu:len() then
    return nil
  end
  add_span(tree, NOTIFY_ROWS["octets.octets"].field, pdu, at + 4, at + 4 + length)
  return at + 4 + length
end

local function padded(length)
  return math.ceil(length / 4) * 4
end

function VALUES.octets(tree, pdu, at)
  local stop = add_octets(tree, pdu, at)
  if not stop then
    return nil
  end
  local text, text_end = add_text(tree, NOTIFY_ROWS["value.text"].field, pdu, at + 4, stop)
  if text_end < stop then
    mark_notify(tree, "ignored", "The daemon reads text up to its first zero byte")
  end
  return '"' .. text .. '"', padded(stop - at)
end

function VALUES.address(tree, pdu, at)
  local stop = add_octets(tree, pdu, at)
  if not stop then
    return nil
  end
  if stop - at ~= 8 then
    mark_notify(tree, "ignored", "An address has 4 octets: the daemon leaves the binding out")
    return "", padded(stop - at)
  end
  local range = pdu:range(at + 4, 4)
  tree:add(NOTIFY_ROWS["value.address"].field, range)
  return tostring(range:ipv4()), 8
end

-- One binding. Returns its name, its value's text and its length; nothing where
-- the walk ends.
local function dissect_binding(tree, pdu, at, length_before)
  local code = add_row(tree, pdu, NOTIFY_ROWS["binding.type"], at)
  local subids = add_row(tree, pdu, NOTIFY_ROWS["binding.name_subids"], at)
  local prefix = add_row(tree, pdu, NOTIFY_ROWS["binding.name_prefix"], at)
  local name = oid_text(tree, pdu, prefix, subids, at + 8)
  if not name then
    return nil
  end
  tree:add(NOTIFY_ROWS["binding.name"].field, pdu:range(at + 4, 4 + 4 * subids), name)
  if prefix == 0 then
    mark_notify(tree, "ignored", "A name without prefix: the daemon begins it with 1.3.6.1.0")
  end
  local kind = TYPES[code]
  if not kind then
    mark_notify(tree, "ignored", "Of unknown type: the daemon skips as much as before")
    return name, "", length_before
  end
  local value_at = at + 8 + 4 * subids
  local text, length = VALUES[kind[2]](tree, pdu, value_at)
  if not text then
    return nil
  end
  if kind[2] == "nothing" or kind[2] == "counter64" then
    mark_notify(tree, "ignored", kind[1] .. " has no place in the trap")
  end
  return name, kind[1] .. " " .. text, 8 + 4 * subids + length
end

-- All bindings up to an offset. Returns the text of snmpTrapOID, if there is one.
local function dissect_bindings(tree, pdu, stop)
  local at, length, trap_oid = AGENTX_HEADER_SIZE, 0, nil
  while at < stop do
    local binding = tree:add(notify, pdu:range(at), "Binding")
    local name, text
    if at + 8 <= pdu:len() then
      name, text, length = dissect_binding(binding, pdu, at, length)
    end
    if not name or length == 0 then
      mark_notify(binding, "malformed", not name and
        "The PDU ends before the binding does; the daemon reads zeros" or
        "The daemon reads no further")
      break
    end
    binding:set_len(math.min(length, pdu:len() - at))
    binding:append_text(" " .. name .. ": " .. text)
    if name:find(SNMP_TRAP_OID, 1, true) and text:find("^OBJECT IDENTIFIER ") then
      trap_oid = text:sub(#"OBJECT IDENTIFIER " + 1)
    end
    at = at + length
  end
  return trap_oid
end

-- A PDU as the daemon reads it. Returns a line about it.
local function dissect_notify(pdu, root)
  local tree = root:add(notify, pdu)
  if pdu:len() < AGENTX_HEADER_SIZE then
    mark_notify(tree, "malformed", "An AgentX header has 20 bytes, this PDU " .. pdu:len())
    return "notification"
  end
  for _, name in ipairs({ "version", "type", "flags", "session_id", "transaction_id",
    "packet_id" }) do
    add_row(tree, pdu, NOTIFY_ROWS[name])
  end
  local payload = add_row(tree, pdu, NOTIFY_ROWS.payload_length)
  local flags = pdu:range(NOTIFY_ROWS.flags.at, 1):uint()
  if has_flag(flags, NETWORK_BYTE_ORDER) then
    mark_notify(tree, "ignored", "Network byte order: the daemon reads little-endian numbers only")
  end
  if has_flag(flags, NON_DEFAULT_CONTEXT) then
    mark_notify(tree, "ignored", "A context: the daemon takes it for the first binding")
  end
  local stop = AGENTX_HEADER_SIZE + payload
  if stop > pdu:len() then
    mark_notify(tree, "malformed", string.format(
      "The last %d bytes of the PDU are missing; the daemon reads zeros", stop - pdu:len()))
  end
  local trap_oid = dissect_bindings(tree, pdu, math.min(stop, pdu:len()))
  if trap_oid then
    add_generated(tree, NOTIFY_ROWS.trap_oid.field, trap_oid)
  else
    mark_notify(tree, "ignored", "No snmpTrapOID: the daemon sends no trap")
  end
  return "notification" .. (trap_oid and " " .. trap_oid or "")
end

-- CHIF packets, a function a kind. Each adds its fields to packet.tree and returns
-- the line of the packet list.

local function session_request(packet)
  local tree, bytes = packet.tree, packet.bytes
  local subcommand = add(tree, bytes, "session_request.subcommand")
  local value
  if packet.cmdno == 0x0093 then
    value = add(tree, bytes, "session_request.value")
  else
    value = add(tree, bytes, "session_request.parameter")
  end
  if subcommand and not SUBCOMMANDS[subcommand] then
    mark(tree, "malformed", "No subcommand " .. subcommand .. " is known")
  end
  local name = SUBCOMMANDS[subcommand] or "session request"
  -- There is one at a time.
  remember(packet, "session", { seqno = packet.seqno, subcommand = subcommand })
  return name .. (subcommand == CONNECT and value and ", parameter " .. value or "")
end

local function session_reply(packet)
  local tree, bytes = packet.tree, packet.bytes
  local error = add(tree, bytes, "session_reply.errcode")
  add(tree, bytes, "session_reply.idx")
  local more = add(tree, bytes, "session_reply.more")
  local open = (waiting_at(packet.channel).session or {})[1]
  local fits = open and packet.seqno >= open.seqno and packet.seqno <= open.seqno + 2
  local request = resolve(packet, (fits or packet.pinfo.visited) and { "session" } or {},
    more and more ~= 0)
  if error and error ~= 0 then
    mark(tree, "failure", "Error " .. error)
  end
  if request and request.subcommand == HELLO and bytes:len() <= BODY_START then
    mark(tree, "ignored", "A reply to a hello needs more than 16 bytes; the daemon fails")
  end
  local name = request and SUBCOMMANDS[request.subcommand]
  return (name and "reply to " .. name or "session reply") ..
    (error and error ~= 0 and ", error " .. error or "") ..
    (more and more ~= 0 and ", more follow" or "")
end

-- A query for which the header is all.
local function utility_query(packet)
  remember(packet, packet.cmdno .. "/" .. packet.seqno)
  return COMMANDS[packet.cmdno]
end

local function resolve_utility(packet)
  return resolve(packet, { (packet.cmdno - RESPONSE_BIT) .. "/" .. packet.seqno })
end

local function mox_status(packet)
  local tree, bytes = packet.tree, packet.bytes
  resolve_utility(packet)
  local version, version_item = add(tree, bytes, "mox_status.firmware_version")
  local date, date_item = add(tree, bytes, "mox_status.firmware_date")
  local application = add(tree, bytes, "mox_status.application")
  local text = "BMC status"
  if version then
    local number = math.floor(version / 256) .. "." .. version % 256
    version_item:append_text(" (" .. number .. ")")
    text = text .. ", firmware " .. number
  end
  if date then
    date_item:append_text(string.format(" (%04d-%02d-%02d)", 1990 + math.floor(date / 2 ^ 26),
      math.floor(date / 2 ^ 22) % 16, math.floor(date / 2 ^ 17) % 32))
  end
  if application then
    local generation = application < 128 and application or application - 256
    text = text .. ", generation " .. generation
  end
  return text
end

local function ipv4_address(packet)
  resolve_utility(packet)
  local _, item = add(packet.tree, packet.bytes, "ipv4_address.last_octet")
  if not item then
    return "IPv4 address"
  end
  local octets = {}
  for i = 3, 0, -1 do
    octets[#octets + 1] = packet.bytes:range(CHIF["ipv4_address.last_octet"].at + i, 1):uint()
  end
  return "IPv4 address " .. table.concat(octets, ".")
end

local function ipv6_address(packet)
  local tree, bytes = packet.tree, packet.bytes
  resolve_utility(packet)
  local error = add(tree, bytes, "ipv6_address.error")
  if add(tree, bytes, "ipv6_address.options") then
    add(tree, bytes, "ipv6_address.ipv6_enabled")
    add(tree, bytes, "ipv6_address.ipv4_enabled")
  end
  local used
  for i = 0, IPV6_ENTRIES - 1 do
    local from = i * IPV6_ENTRY_SIZE
    local at = CHIF["ipv6_address.first_address"].at + from
    if at + IPV6_ENTRY_SIZE > bytes:len() then
      mark(tree, "malformed", "The packet ends before entry " .. i)
      break
    end
    local entry = tree:add(chif, bytes:range(at, IPV6_ENTRY_SIZE), "Entry " .. i)
    add(entry, bytes, "ipv6_address.first_address", from)
    local state = add(entry, bytes, "ipv6_address.first_state", from)
    if state == 0 and not used then
      used = i
      entry:append_text(" (the one that counts)")
    end
  end
  if error and error ~= 0 then
    mark(tree, "failure", "Error " .. error .. ": no addresses")
  end
  return "IPv6 addresses" .. (used and ", entry " .. used .. " counts" or ", none usable")
end

local function is_nvram(network_function, command)
  return network_function == NVRAM_NETWORK_FUNCTION and command == NVRAM_COMMAND
end

local function hex_of(bytes, from, to)
  to = math.min(to, bytes:len())
  return from < to and bytes:range(from, to - from):bytes():tohex(true) or ""
end

-- The data of a request for a variable. Returns a line, and what the reply has to
-- be told.
local function nvram_request(packet)
  local tree, bytes, from = packet.tree, packet.bytes, CHIF["kcs.request.data"].at
  local operation = add(tree, bytes, "nvram.request.operation", from)
  local length = add(tree, bytes, "nvram.request.length", from)
  if not length then
    return "variable access", { operation = operation }
  end
  local name, name_end = add_text(tree, CHIF["nvram.request.name"].field, bytes,
    from + CHIF["nvram.request.name"].at)
  local about = { operation = operation, name = name }
  if name_end >= bytes:len() then
    mark(tree, "malformed", "The variable's name has no end")
  end
  if operation == NVRAM_GET then
    return "get variable " .. name, about
  elseif operation ~= NVRAM_SET then
    mark(tree, "malformed", "No operation " .. operation .. " is known")
    return "variable access", about
  end
  add_span(tree, CHIF["nvram.request.value"].field, bytes, name_end + 1, name_end + 1 + length)
  if name_end + 1 + length ~= bytes:len() then
    mark(tree, "malformed", "The value has not the length that is stated")
  end
  return "set variable " .. name .. " = " .. hex_of(bytes, name_end + 1, name_end + 1 + length),
    about
end

local function kcs_request(packet)
  local tree, bytes = packet.tree, packet.bytes
  local shifted = add(tree, bytes, "kcs.network_function")
  local command = add(tree, bytes, "kcs.command")
  local about, text = {}, nil
  about.network_function, about.command = shifted and math.floor(shifted / 4), command
  if is_nvram(about.network_function, command) then
    local line, more = nvram_request(packet)
    text, about.operation, about.name = line, more.operation, more.name
  else
    add_span(tree, CHIF["kcs.request.data"].field, bytes, CHIF["kcs.request.data"].at)
    text = "KCS request"
    if command then
      text = text .. string.format(", function 0x%02x, command 0x%02x", about.network_function,
        command)
    end
  end
  if bytes:len() > KCS_PACKET_SIZE then
    mark(tree, "malformed", "A KCS request has at most 512 bytes")
  end
  remember(packet, "kcs/" .. packet.seqno, about)
  return text
end

local function nvram_response(packet, request)
  local tree, bytes, from = packet.tree, packet.bytes, CHIF["kcs.response.data"].at
  local name = request and request.name or ""
  if name ~= "" then
    add_generated(tree, CHIF["nvram.response.name"].field, name)
  end
  local status = add(tree, bytes, "nvram.response.status", from)
  if status and status ~= 0 then
    mark(tree, "failure", "Status " .. (STATUSES[status] or status))
    return "variable " .. name .. ": " .. (STATUSES[status] or "status " .. status)
  end
  if not status or not request or request.operation ~= NVRAM_GET then
    return "variable " .. name .. (status and ": success" or "")
  end
  local length = add(tree, bytes, "nvram.response.length", from)
  local value = from + CHIF["nvram.response.value"].at
  if not length then
    return "variable " .. name
  end
  add_span(tree, CHIF["nvram.response.value"].field, bytes, value, value + length)
  if value + length > bytes:len() then
    mark(tree, "malformed", "The packet ends before the value; the daemon reads zeros")
  end
  return "variable " .. name .. " = " .. hex_of(bytes, value, value + length)
end

local function kcs_response(packet)
  local tree, bytes = packet.tree, packet.bytes
  local shifted = add(tree, bytes, "kcs.network_function")
  local command = add(tree, bytes, "kcs.command")
  local completion = add(tree, bytes, "kcs.response.completion_code")
  local request = resolve(packet, { "kcs/" .. packet.seqno })
  if not completion then
    return "KCS response"
  end
  local network_function = math.floor(shifted / 4) - 1
  if request and (network_function ~= request.network_function or command ~= request.command) then
    mark(tree, "ignored", "Function or command is not the request's; the daemon fails")
  end
  if completion ~= 0 then
    mark(tree, "failure", string.format("Completion code 0x%02x", completion))
    add_span(tree, CHIF["kcs.response.data"].field, bytes, CHIF["kcs.response.data"].at)
    return string.format("KCS response, completion code 0x%02x", completion)
  end
  if is_nvram(network_function, command) then
    return nvram_response(packet, request)
  end
  add_span(tree, CHIF["kcs.response.data"].field, bytes, CHIF["kcs.response.data"].at)
  return "KCS response"
end

local function log_text(packet)
  local tree, bytes = packet.tree, packet.bytes
  local length = add(tree, bytes, "log_text.length")
  remember(packet, "log", nil, true)
  if not length then
    return "log text"
  end
  local from = CHIF["log_text.text"].at
  local text = add_text(tree, CHIF["log_text.text"].field, bytes, from, from + length)
  if from + length > bytes:len() then
    mark(tree, "malformed", "The text is longer than the packet")
  end
  return "log text: " .. text
end

local function log_ack(packet)
  resolve(packet, { "log" })
  return "log text acknowledged"
end

-- What the daemon does on an action word.
local function meaning_of(action)
  if action % 2 == 1 then
    return "reboot"
  elseif math.floor(action / 2) % 2 == 1 then
    return "abort"
  end
  return action == 0 and "power off" or "power off in the log, reboot in fact"
end

local function shutdown(packet)
  local tree, bytes = packet.tree, packet.bytes
  local action = add(tree, bytes, "shutdown.action")
  remember(packet, "shutdown/" .. (packet.seqno + 1) % 0x10000)
  if not action then
    return "shutdown request"
  end
  local meaning = meaning_of(action)
  add(tree, bytes, "shutdown.reboot")
  add(tree, bytes, "shutdown.abort")
  add_generated(tree, CHIF["shutdown.meaning"].field, meaning)
  if action > 1 and meaning ~= "reboot" and meaning ~= "abort" then
    mark(tree, "ignored", "Any action but 0 reboots, although the log says shutdown")
  end
  local delay = add(tree, bytes, "shutdown.delay")
  local reason = add_text(tree, CHIF["shutdown.reason"].field, bytes, CHIF["shutdown.reason"].at)
  if not delay then
    return meaning .. " request"
  end
  delay = delay < 2 ^ 31 and delay or delay - 2 ^ 32
  local seconds = meaning == "abort" and "" or string.format(" in %d s", delay)
  return meaning .. " request" .. seconds .. ": " .. reason
end

local function shutdown_ack(packet)
  resolve(packet, { "shutdown/" .. packet.seqno })
  return "shutdown request acknowledged"
end

-- The length of the PDU as the daemon takes it; nothing where it drops the packet.
local function check_notification(packet, claimed)
  local tree, length = packet.tree, packet.bytes:len()
  if packet.pktsize > length then
    mark(tree, "malformed", "Less was received than the header says; the daemon drops it")
  elseif claimed > PACKET_MAX - BODY_START or claimed > length then
    mark(tree, "malformed", "The PDU is longer than a packet or than this one; the daemon drops it")
  elseif claimed > length - BODY_START then
    mark(tree, "malformed", "The PDU is longer than the packet; the daemon reads zeros")
  elseif claimed == 0 then
    mark(tree, "ignored", "No PDU: the daemon does nothing")
  end
end

-- Hands a whole PDU to Wireshark's own dissector. Of a part of one it throws an
-- exception through this script, which costs Lua a level of its stack each time.
local function hand_over(pdu, packet)
  local size = AGENTX_HEADER_SIZE
  if pdu:len() >= size then
    local length = pdu:range(NOTIFY_ROWS.payload_length.at, 4)
    local big_endian = has_flag(pdu:range(NOTIFY_ROWS.flags.at, 1):uint(), NETWORK_BYTE_ORDER)
    size = size + (big_endian and length:uint() or length:le_uint())
  end
  if size > pdu:len() then
    mark(packet.tree, "malformed", "The PDU ends before its last byte")
  else
    agentx:call(pdu:range(0, size):tvb(), packet.pinfo, packet.root)
  end
end

local function notification(packet)
  local tree, bytes = packet.tree, packet.bytes
  local error = add(tree, bytes, "notification.errcode")
  local claimed = add(tree, bytes, "notification.agentx_resp_len")
  if not claimed then
    return "notification"
  end
  check_notification(packet, claimed)
  local from = CHIF["notification.pdu"].at
  local to = math.min(from + claimed, bytes:len())
  if to <= from then
    return "nothing for the host"
  end
  local pdu = bytes:range(from, to - from)
  local item = tree:add(CHIF["notification.pdu"].field, pdu)
  local kind = pdu:len() > 1 and pdu:range(1, 1):uint() or NOTIFY
  if kind == NOTIFY then
    return dissect_notify(pdu, packet.root), error
  end
  mark(item, "ignored", "Not a Notify PDU: the daemon drops it")
  hand_over(pdu, packet)
  return "AgentX PDU of type " .. kind, error
end

local function status(packet)
  local text, error = notification(packet)
  if not error then
    error = packet.bytes:len() >= 12 and packet.bytes:range(8, 4):le_uint() or 0
  end
  if error ~= 0 then
    mark(packet.tree, "failure", "Error " .. error .. ": the daemon drops the packet")
  end
  return "status, error " .. error .. (text == "nothing for the host" and "" or ", " .. text)
end

local function unknown(packet)
  add_span(packet.tree, CHIF["data"].field, packet.bytes, HEADER_SIZE)
  mark(packet.tree, "unexpected", "No packet of this command goes to the BMC")
  return "unknown packet"
end

local TO_BMC = {
  [0x0002] = utility_query, [0x0032] = utility_query, [0x0120] = utility_query,
  [0x0093] = session_request, [0x0193] = session_request,
  [0x8095] = log_ack, [0x8195] = shutdown_ack,
}
local FROM_BMC = {
  [0x8002] = mox_status, [0x8032] = ipv4_address, [0x8120] = ipv6_address,
  [0x8093] = session_reply, [0x8193] = session_reply,
  [0x0094] = status, [0x8094] = status, [0x8194] = status,
  [0x0095] = log_text, [0x0195] = shutdown,
}

local function handler_of(packet, to_bmc)
  if packet.svc == SVC_KCS and packet.cmdno % RESPONSE_BIT == 0 then
    return to_bmc and kcs_request or kcs_response
  end
  return to_bmc and (TO_BMC[packet.cmdno] or unknown) or FROM_BMC[packet.cmdno] or notification
end

-- The record's own bytes. Returns direction, source and the packet, which may be
-- empty; nothing when they are none of ours.
local function dissect_record(buffer, pinfo, root)
  local tree = root:add(record, buffer:range(0, math.min(buffer:len(), RECORD_SIZE)))
  if buffer:len() < RECORD_SIZE or buffer:range(0, 1):uint() ~= RECORD_VERSION then
    pinfo.cols.info = "not a record of the simulated host"
    tree:add_proto_expert_info(RECORD_EXPERT.malformed,
      buffer:len() < RECORD_SIZE and "A record has 8 bytes before the packet"
      or "Version 1 is known, not " .. buffer:range(0, 1):uint())
    return nil
  end
  add_row(tree, buffer, RECORD.version)
  return add_row(tree, buffer, RECORD.direction), (add_row(tree, buffer, RECORD.source))
end

local function dissect_packet(packet, to_bmc)
  local tree, bytes = packet.tree, packet.bytes
  if bytes:len() < HEADER_SIZE then
    tree:add(CHIF["data"].field, bytes:range())
    mark(tree, "malformed", "A header has 8 bytes, this packet has " .. bytes:len())
    return "packet of " .. bytes:len() .. " bytes"
  end
  for _, name in ipairs({ "pktsize", "seqno", "cmdno", "svc" }) do
    packet[name] = add(tree, bytes, name)
  end
  if packet.pktsize ~= bytes:len() then
    mark(tree, "malformed", "The packet has " .. bytes:len() .. " bytes")
  end
  if bytes:len() > PACKET_MAX then
    mark(tree, "malformed", "A packet has at most 4096 bytes")
  end
  local handler = handler_of(packet, to_bmc)
  local on_session = handler == notification or handler == status or handler == log_text
    or handler == shutdown
  if on_session and bytes:len() <= BODY_START then
    mark(tree, "malformed", "The daemon drops a packet of 16 bytes or less")
  end
  local text = handler(packet)
  show_links(packet)
  return text
end

function chif.dissector(buffer, pinfo, root)
  pinfo.cols.protocol = "CHIF"
  local direction, channel = dissect_record(buffer, pinfo, root)
  if not direction then
    return
  end
  local to_bmc = direction == WRITTEN
  pinfo.cols.src = to_bmc and "host" or "BMC"
  pinfo.cols.dst = to_bmc and "BMC" or "host"
  local where = "channel " .. channel .. ": "
  if buffer:len() == RECORD_SIZE then
    pinfo.cols.info = where .. (to_bmc and "empty write" or "empty read")
    return
  end
  local bytes = buffer:range(RECORD_SIZE):tvb()
  local tree = root:add(chif, bytes:range())
  add_generated(tree, CHIF["channel"].field, channel)
  local packet = { tree = tree, root = root, bytes = bytes, pinfo = pinfo, channel = channel }
  local text = dissect_packet(packet, to_bmc)
  pinfo.cols.protocol = "CHIF"
  pinfo.cols.info = where .. text
  tree:append_text(", " .. text)
end

-- What one receive of the daemon at the agents' socket gave. It takes that for one
-- notification, whatever was written.
local function check_receive(tree, bytes, size)
  local function mark_as(kind, text)
    tree:add_proto_expert_info(AGENT_EXPERT[kind], text)
  end
  if bytes:len() > size then
    mark_as("ignored", "The daemon drops the " .. bytes:len() - size ..
      " bytes behind the first notification of a receive")
  end
  if size >= AGENTX_HEADER_SIZE and bytes:range(1, 1):uint() ~= NOTIFY then
    mark_as("ignored", "Not a Notify PDU: the daemon reads it as one")
  end
end

function agent.dissector(buffer, pinfo, root)
  pinfo.cols.protocol = "Host agent"
  local direction, process = dissect_record(buffer, pinfo, root)
  if not direction then
    return
  end
  pinfo.cols.src = "agent " .. process
  pinfo.cols.dst = "tvurev"
  if buffer:len() == RECORD_SIZE then
    pinfo.cols.info = "end of the agent's stream"
    return
  end
  local bytes = buffer:range(RECORD_SIZE):tvb()
  local tree = root:add(agent, bytes:range())
  add_generated(tree, AGENT["process"].field, process)
  local size = bytes:len()
  if size >= AGENTX_HEADER_SIZE then
    size = math.min(size, AGENTX_HEADER_SIZE + bytes:range(16, 4):le_uint())
  end
  tree:add(AGENT["pdu"].field, bytes:range(0, size))
  add_span(tree, AGENT["rest"].field, bytes, size)
  check_receive(tree, bytes, size)
  local text = dissect_notify(bytes:range(0, size), root)
  pinfo.cols.info = text .. (size < bytes:len() and ", and bytes behind it" or "")
end

local link_types = DissectorTable.get("wtap_encap")
link_types:add((wtap_encaps or wtap).USER0, chif)
link_types:add((wtap_encaps or wtap).USER1, agent)
