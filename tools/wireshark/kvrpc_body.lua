-- The dissector proper. The tables above (kv_common, kv_interfaces, kv_management,
-- kv_results) come from the registry; everything below is written by hand.

local kvrpc = Proto("kvrpc", "kvclient RPC")

local tag_names = {
  [0] = "char", [1] = "char*", [2] = "bool", [3] = "bool*", [4] = "short", [5] = "short*",
  [6] = "long", [7] = "long*", [8] = "double", [9] = "double*", [10] = "CCur", [11] = "CCur*",
  [12] = "CDate", [13] = "CDate*", [14] = "CStr", [15] = "CStr*", [16] = "block*",
  [17] = "reserved", [18] = "null", [19] = "end", [20] = "long long", [21] = "long long*",
}
-- The registry's letter of each tag ("B*" has no row of its own).
local tag_letters = {
  [0] = "c", [1] = "c*", [2] = "b", [3] = "b*", [4] = "s", [5] = "s*", [6] = "l", [7] = "l*",
  [8] = "d", [9] = "d*", [10] = "C", [11] = "C*", [12] = "D", [13] = "D*", [14] = "S",
  [15] = "S*", [16] = "B*", [20] = "x", [21] = "x*",
}
-- Value bytes after each tag; -1: a u16 count and then the units.
local tag_widths = {
  [0] = 1, [1] = 1, [2] = 1, [3] = 1, [4] = 2, [5] = 2, [6] = 4, [7] = 4, [8] = 8, [9] = 8,
  [10] = 8, [11] = 8, [12] = 8, [13] = 8, [14] = -1, [15] = -1, [16] = -1, [18] = 0,
  [20] = 8, [21] = 8,
}
-- Calls whose senders may stop after the first n arguments.
local variable_calls = { [2] = { [13] = 32 }, [1] = { [17] = 5 } }

local iface_names = {}
for n, i in pairs(kv_interfaces) do iface_names[n] = i.name end

local function lookup(itype, fn)
  local i = kv_interfaces[itype]
  if i == nil then return nil, nil end
  return i, i.functions[fn] or kv_common[fn]
end

local f = {
  kind        = ProtoField.uint8("kvrpc.kind", "Kind", base.DEC),
  version     = ProtoField.uint8("kvrpc.version", "Interface version", base.DEC),
  oneway      = ProtoField.uint8("kvrpc.oneway", "One-way flag", base.DEC),
  flag        = ProtoField.uint8("kvrpc.flag", "Reply flag byte", base.DEC),
  management  = ProtoField.uint8("kvrpc.management", "Management code", base.DEC, kv_management),
  func        = ProtoField.uint8("kvrpc.function", "Function", base.DEC),
  source      = ProtoField.uint32("kvrpc.source", "Source", base.DEC),
  destination = ProtoField.uint32("kvrpc.destination", "Destination", base.DEC),
  sequence    = ProtoField.uint16("kvrpc.sequence", "Sequence", base.DEC),
  interface   = ProtoField.uint16("kvrpc.interface", "Interface", base.DEC, iface_names),
  object      = ProtoField.int32("kvrpc.object", "Object", base.DEC),
  result      = ProtoField.int16("kvrpc.result", "Result", base.DEC, kv_results),
  length      = ProtoField.uint16("kvrpc.length", "Length", base.DEC),
  msgtype     = ProtoField.string("kvrpc.type", "Message type"),
  call        = ProtoField.string("kvrpc.call", "Call"),
  request_in  = ProtoField.framenum("kvrpc.request_in", "Request in", base.NONE, frametype.REQUEST),
  response_in = ProtoField.framenum("kvrpc.response_in", "Response in", base.NONE, frametype.RESPONSE),
  time        = ProtoField.double("kvrpc.time", "Seconds since request"),
  arg         = ProtoField.string("kvrpc.arg", "Argument"),
  arg_tag     = ProtoField.uint8("kvrpc.arg.tag", "Tag", base.DEC, tag_names),
  arg_value   = ProtoField.string("kvrpc.arg.value", "Value"),
  arg_count   = ProtoField.uint16("kvrpc.arg.count", "Count", base.DEC),
  arg_cur     = ProtoField.int64("kvrpc.arg.cur_raw", "Stored value (x 10000)", base.DEC),
  arg_ticks   = ProtoField.uint64("kvrpc.arg.date_ticks", "Ticks since 1601", base.DEC),
  arg_block   = ProtoField.bytes("kvrpc.arg.block", "Bytes"),
  garbage     = ProtoField.bytes("kvrpc.garbage", "Undecodable bytes"),
}
kvrpc.fields = f

local e = {
  malformed  = ProtoExpert.new("kvrpc.malformed", "Malformed message", expert.group.MALFORMED, expert.severity.ERROR),
  truncated  = ProtoExpert.new("kvrpc.truncated", "Message cut short by the capture", expert.group.MALFORMED, expert.severity.WARN),
  unknown    = ProtoExpert.new("kvrpc.unknown", "Interface or function not in the tables", expert.group.UNDECODED, expert.severity.WARN),
  mismatch   = ProtoExpert.new("kvrpc.mismatch", "Arguments differ from the table", expert.group.PROTOCOL, expert.severity.WARN),
  unreadable = ProtoExpert.new("kvrpc.unreadable", "Value beyond the readable area (the client reads it as -10)", expert.group.PROTOCOL, expert.severity.WARN),
  failed     = ProtoExpert.new("kvrpc.failed", "Call failed", expert.group.RESPONSE_CODE, expert.severity.NOTE),
  no_reply   = ProtoExpert.new("kvrpc.unmatched", "Reply without its request in the capture", expert.group.SEQUENCE, expert.severity.NOTE),
}
kvrpc.experts = e

kvrpc.prefs.call_port = Pref.uint("Call port", 0, "TCP port of the call connection (0: none)")
kvrpc.prefs.events_port = Pref.uint("Events port", 0, "TCP port of the events connection (0: none)")
kvrpc.prefs.heuristic = Pref.bool("Heuristic", true, "Recognise the protocol on any TCP port")

-- Requests waiting for their reply, by connection, interface, sequence and function; what
-- each message was found to be on the first pass, and which frame answered a request.
local pending, seen, answered = {}, {}, {}

function kvrpc.init()
  pending, seen, answered = {}, {}, {}
end

local function cur_text(v)
  local neg = v < Int64(0)
  local ip, fp = v / 10000, v % 10000
  if neg then ip, fp = -ip, -fp end
  return string.format("%s%s.%04d", neg and "-" or "", tostring(ip), fp:tonumber())
end

local function date_text(ticks)
  if ticks == UInt64(0xFFFFFFFF, 0xFFFFFFFF) then return "no date" end
  local secs = (ticks / 10000000):tonumber() - 11644473600
  local frac = (ticks % 10000000):tonumber()
  local ok, text = pcall(os.date, "!%Y-%m-%d %H:%M:%S", secs)
  if not ok or text == nil then return tostring(ticks) .. " ticks" end
  if frac ~= 0 then text = text .. string.format(".%07d", frac) end
  return text .. " UTC"
end

local function split(wire)
  local out = {}
  for w in string.gmatch(wire, "%S+") do out[#out + 1] = w end
  return out
end

-- Compares the letters received with the row; tag 18 stands for any by-reference letter.
local function check_args(t, row, got, mtype, itype, fn)
  if row == nil then return end
  local want = {}
  for _, w in ipairs(split(row.wire)) do
    if mtype ~= "reply" or string.sub(w, -1) == "*" then want[#want + 1] = w end
  end
  local n = #got
  local short = variable_calls[itype] and variable_calls[itype][fn]
  local ok = n == #want or (short ~= nil and n == short and mtype ~= "reply")
  for k = 1, math.min(n, #want) do
    local g, w = got[k], want[k]
    if not (g == w or (g == "null" and string.sub(w, -1) == "*")) then ok = false end
  end
  if not ok then
    t:add_proto_expert_info(e.mismatch, string.format("%s expected [%s], received [%s]", row.name,
      table.concat(want, " "), table.concat(got, " ")))
  end
end

-- The tagged values of a data area starting at `at`, `len` bytes long. Returns the letters,
-- and whether they decoded cleanly up to the end tag.
local function dissect_args(tvb, t, at, len)
  local pos, got, ended = 0, {}, false
  while pos < len do
    local tag = tvb(at + pos, 1):uint()
    if tag == 19 then
      local it = t:add(f.arg_tag, tvb(at + pos, 1)):append_text(" (end of parameters)")
      if pos >= kv_data_size - 1 then it:add_proto_expert_info(e.unreadable) end
      pos, ended = pos + 1, true
      break
    end
    local width = tag_widths[tag]
    if width == nil then
      t:add_proto_expert_info(e.malformed, string.format("unknown tag %d at data offset %d", tag, pos))
      return got, false
    end
    local vlen, count = width, 0
    if width < 0 then
      if pos + 3 > len then
        t:add_proto_expert_info(e.malformed, string.format("%s count runs past the data area", tag_names[tag]))
        return got, false
      end
      count = tvb(at + pos + 1, 2):le_uint()
      vlen = 2 + count * (tag == 16 and 1 or 2)
    end
    if pos + 1 + vlen > len then
      t:add_proto_expert_info(e.malformed, string.format("argument %d (%s) runs past the data area", #got + 1, tag_names[tag]))
      return got, false
    end
    local v = tvb(at + pos + 1, vlen)
    local text
    if tag <= 1 then text = tostring(v:int())
    elseif tag <= 3 then text = v:uint() ~= 0 and "true" or "false"
    elseif tag <= 7 then text = tostring(v:le_int())
    elseif tag <= 9 then text = tostring(v:le_float())
    elseif tag <= 11 then text = cur_text(v:le_int64())
    elseif tag <= 13 then text = date_text(v:le_uint64())
    elseif tag <= 15 then text = count > 0 and v(2):le_ustring() or ""
    elseif tag == 16 then text = count .. " bytes"
    elseif tag == 18 then text = "(not wanted)"
    else text = tostring(v:le_int64()) end
    local letter = tag == 18 and "null" or tag_letters[tag]
    got[#got + 1] = letter
    local a = t:add(f.arg, tvb(at + pos, 1 + vlen), string.format("#%d %s", #got, letter))
    a:set_text(string.format("Argument %d: %s = %s", #got, tag_names[tag], tag >= 14 and tag <= 15 and '"' .. text .. '"' or text))
    a:add(f.arg_tag, tvb(at + pos, 1))
    if width < 0 then a:add_le(f.arg_count, v(0, 2)) end
    a:add(f.arg_value, v, text)
    if tag == 10 or tag == 11 then a:add_le(f.arg_cur, v) end
    if tag == 12 or tag == 13 then a:add_le(f.arg_ticks, v) end
    if tag == 16 and count > 0 then a:add(f.arg_block, v(2)) end
    -- The client reads tags and values up to data offset 2046 only (characters to 2047).
    local limit = width < 0 and kv_data_size or kv_data_size - 1
    if pos + 1 + vlen > limit then a:add_proto_expert_info(e.unreadable) end
    pos = pos + 1 + vlen
  end
  if not ended then
    t:add_proto_expert_info(e.malformed, "no end tag (19)")
  elseif pos < len then
    t:add(f.garbage, tvb(at + pos, len - pos))
    t:add_proto_expert_info(e.malformed, string.format("%d bytes after the end tag", len - pos))
  end
  return got, ended and pos == len
end

local function endpoint(addr, port) return tostring(addr) .. ":" .. port end

-- Request, reply, one-way or management; for a reply, the request's frame and time.
local function classify(pinfo, id, fn, flag, itype, seq, result)
  local known = seen[id]
  if known ~= nil or pinfo.visited then return known or { type = "?" } end
  local src, dst = endpoint(pinfo.src, pinfo.src_port), endpoint(pinfo.dst, pinfo.dst_port)
  local c
  if fn == 1 then
    c = { type = "management" }
  else
    local back = table.concat({ dst, src, itype, seq, fn }, "|")
    local p = pending[back]
    if p ~= nil then
      pending[back] = nil
      answered[p.id] = pinfo.number
      c = { type = "reply", req = p.frame, dt = pinfo.abs_ts - p.time }
    elseif (kvrpc.prefs.call_port ~= 0 and pinfo.src_port == kvrpc.prefs.call_port)
        or (kvrpc.prefs.events_port ~= 0 and pinfo.dst_port == kvrpc.prefs.events_port)
        or result ~= 0 then
      c = { type = "reply" }
    elseif flag ~= 0 then
      c = { type = "one-way" }
    else
      c = { type = "request" }
      pending[table.concat({ src, dst, itype, seq, fn }, "|")] = { frame = pinfo.number, id = id, time = pinfo.abs_ts }
    end
  end
  seen[id] = c
  return c
end

-- One whole message at `off`; returns a short text for the Info column.
local function dissect_message(tvb, pinfo, tree, off, total)
  local t = tree:add(kvrpc, tvb(off, total))
  local flag, fn = tvb(off + 2, 1):uint(), tvb(off + 3, 1):uint()
  local seq, itype = tvb(off + 12, 2):le_uint(), tvb(off + 14, 2):le_uint()
  local result, len = tvb(off + 20, 2):le_int(), tvb(off + 22, 2):le_uint()
  local object = tvb(off + 16, 4):le_int()
  local id = pinfo.number .. "/" .. off
  local c = classify(pinfo, id, fn, flag, itype, seq, result)

  t:add(f.msgtype, c.type):set_generated()
  t:add(f.kind, tvb(off, 1))
  t:add(f.version, tvb(off + 1, 1))
  if fn == 1 then
    local name = kv_management[flag] or "unknown"
    t:add(f.management, tvb(off + 2, 1))
    t:add(f.func, tvb(off + 3, 1)):append_text(" (management)")
    local a, b = tvb(off + 4, 4):le_uint(), tvb(off + 8, 4):le_uint()
    t:add_le(f.source, tvb(off + 4, 4)):append_text(" (first argument)")
    t:add_le(f.destination, tvb(off + 8, 4)):append_text(" (second argument)")
    t:add_le(f.length, tvb(off + 22, 2))
    if len ~= 0 then t:add_proto_expert_info(e.malformed, "management message with data") end
    t:append_text(string.format(", %s (%d, %d)", name, a, b))
    return string.format("%s %d,%d", name, a, b)
  end

  local iface, row = lookup(itype, fn)
  local iname = iface and iface.name or ("interface " .. itype)
  local fname = row and row.name or ("function " .. fn)
  local callname = iname .. "." .. fname
  t:add(f.call, callname):set_generated()
  if c.type == "reply" then t:add(f.flag, tvb(off + 2, 1)) else t:add(f.oneway, tvb(off + 2, 1)) end
  local fi = t:add(f.func, tvb(off + 3, 1))
  if row then fi:append_text(" (" .. row.name .. ")") end
  t:add_le(f.source, tvb(off + 4, 4))
  t:add_le(f.destination, tvb(off + 8, 4))
  t:add_le(f.sequence, tvb(off + 12, 2))
  t:add_le(f.interface, tvb(off + 14, 2))
  t:add_le(f.object, tvb(off + 16, 4))
  local ri = t:add_le(f.result, tvb(off + 20, 2))
  t:add_le(f.length, tvb(off + 22, 2))
  if iface == nil or row == nil then t:add_proto_expert_info(e.unknown, callname) end
  if c.req then
    t:add(f.request_in, c.req):set_generated()
    t:add(f.time, c.dt):set_generated()
  elseif c.type == "reply" then
    t:add_proto_expert_info(e.no_reply)
  end
  if answered[id] then t:add(f.response_in, answered[id]):set_generated() end
  if result ~= 0 then ri:add_proto_expert_info(e.failed, string.format("%s: %d %s", callname, result, kv_results[result] or "")) end

  local got, clean = dissect_args(tvb, t, off + kv_header_size, len)
  local skipped = c.type == "reply" and row ~= nil and string.find(row.notes, "flag-skip", 1, true) and flag ~= 0
  if clean and (c.type ~= "reply" or (result == 0 and not skipped)) then check_args(t, row, got, c.type, itype, fn) end

  local info = string.format("%s %s seq=%d obj=%d", callname, c.type, seq, object)
  if c.type == "reply" then info = info .. string.format(" result=%d", result) end
  t:append_text(", " .. info)
  return info
end

-- Whole messages out of a TCP stream: several per segment, or one over several segments.
local function dissect_stream(tvb, pinfo, tree)
  local have, off, infos = tvb:len(), 0, {}
  local cut = tvb:reported_len() > have
  -- TCP may call once for a reassembled message and again for the rest of the segment.
  local again = tostring(pinfo.cols.protocol) == "KVRPC"
  pinfo.cols.protocol = "KVRPC"
  while off < have do
    local rest = have - off
    if rest < kv_header_size or rest < kv_header_size + tvb(off + 22, 2):le_uint() then
      if cut then
        local t = tree:add(kvrpc, tvb(off, rest))
        t:add_proto_expert_info(e.truncated)
        infos[#infos + 1] = "[truncated]"
        break
      end
      pinfo.desegment_offset = off
      pinfo.desegment_len = rest < kv_header_size and DESEGMENT_ONE_MORE_SEGMENT
        or kv_header_size + tvb(off + 22, 2):le_uint() - rest
      break
    end
    local len = tvb(off + 22, 2):le_uint()
    if tvb(off, 1):uint() ~= 1 or len > kv_data_size then
      local t = tree:add(kvrpc, tvb(off, rest))
      t:add(f.garbage, tvb(off, rest))
      t:add_proto_expert_info(e.malformed, string.format("not a message: kind %d, length %d", tvb(off, 1):uint(), len))
      infos[#infos + 1] = "[malformed]"
      break
    end
    local ok, info = pcall(dissect_message, tvb, pinfo, tree, off, kv_header_size + len)
    if not ok then
      tree:add_proto_expert_info(e.malformed, tostring(info))
      info = "[malformed]"
    end
    infos[#infos + 1] = info
    off = off + kv_header_size + len
  end
  if #infos > 0 then
    local text = table.concat(infos, "; ")
    if again then pinfo.cols.info:append("; " .. text) else pinfo.cols.info = text end
  end
  return have
end

local function dissector(tvb, pinfo, tree)
  local ok, r = pcall(dissect_stream, tvb, pinfo, tree)
  if ok then return r end
  tree:add_proto_expert_info(e.malformed, tostring(r))
  return tvb:len()
end
kvrpc.dissector = dissector

-- The first message of a connection: a management message or a call of a known row.
local function heuristic(tvb, pinfo, tree)
  if not kvrpc.prefs.heuristic or tvb:len() < kv_header_size then return false end
  if tvb(0, 1):uint() ~= 1 or tvb(1, 1):uint() ~= 0 then return false end
  local fn, len = tvb(3, 1):uint(), tvb(22, 2):le_uint()
  if len > kv_data_size then return false end
  if fn == 1 then
    if len ~= 0 or tvb(2, 1):uint() > 7 then return false end
  else
    local iface, row = lookup(tvb(14, 2):le_uint(), fn)
    if row == nil then return false end
  end
  pinfo.conversation = kvrpc
  dissector(tvb, pinfo, tree)
  return true
end
kvrpc:register_heuristic("tcp", heuristic)

local ports = {}
function kvrpc.prefs_changed()
  local tcp = DissectorTable.get("tcp.port")
  for _, p in ipairs(ports) do tcp:remove(p, kvrpc) end
  ports = {}
  for _, p in ipairs({ kvrpc.prefs.call_port, kvrpc.prefs.events_port }) do
    if p ~= 0 then
      tcp:add(p, kvrpc)
      ports[#ports + 1] = p
    end
  end
end
