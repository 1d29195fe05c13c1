-- Drives Neovim with the settings of editors/neovim and the language server, as a user would:
--   nvim --headless -u NONE --cmd 'set runtimepath^=editors/neovim' -c 'luafile neovim_test.lua'
-- with KELMSCRIPT, the tool, MODULE, a library of types, and FILE, a copy of a data source, in the environment.

local failures = 0

local function expect(what, actual, expected)
  if vim.inspect(actual) ~= vim.inspect(expected) then
    failures = failures + 1
    io.stderr:write(what .. '\n  expected: ' .. vim.inspect(expected) .. '\n  actual:   ' .. vim.inspect(actual) .. '\n')
  end
end

-- Long, and used up by failures alone.
local function wait_for(what, condition)
  if not vim.wait(60000, condition, 20) then
    failures = failures + 1
    io.stderr:write('never came: ' .. what .. '\n')
  end
end

-- What the server answers at the first place of a text in the buffer, so many characters behind its beginning.
local function ask(method, text, offset, parameters)
  vim.fn.cursor(1, 1)
  vim.fn.search('\\V' .. text, 'cW')
  local position = vim.lsp.util.make_position_params()
  position.position.character = position.position.character + offset
  local answers = vim.lsp.buf_request_sync(0, method, vim.tbl_extend('force', position, parameters or {}), 60000)
  for _, answer in pairs(answers or {}) do
    return answer.result
  end
end

local function labels(items)
  local found = {}
  for _, item in ipairs(items.items or items) do
    found[#found + 1] = item.label
  end
  table.sort(found)
  return found
end

local function group_at(text)
  vim.fn.cursor(1, 1)
  vim.fn.search('\\V' .. text, 'cW')
  return vim.fn.synIDattr(vim.fn.synID(vim.fn.line('.'), vim.fn.col('.'), 1), 'name')
end

local function run()
  vim.cmd('filetype plugin on | syntax on')
  local function has_server()
    local _, client = next(vim.lsp.buf_get_clients(0))
    return client ~= nil and client.initialized
  end
  -- In a file that is open already, as in those that are opened later.
  vim.cmd('edit ' .. vim.fn.fnameescape(vim.env.FILE .. '.kds'))
  local settings = { server = vim.env.KELMSCRIPT, modules = { vim.env.MODULE } }
  require('kelmscript').setup(settings)
  wait_for('the server of an open file', has_server)
  vim.cmd('edit ' .. vim.fn.fnameescape(vim.env.FILE))
  expect('the kind of file', vim.bo.filetype, 'kds')
  wait_for('the server', has_server)

  -- Colours.
  expect('a class', group_at('garden.Plan {'), 'kdsType')
  expect('a member', group_at('title ='), 'kdsMember')
  expect('a text', group_at('"Behind'), 'kdsText')
  expect('a number', group_at('1204417'), 'kdsNumber')
  expect('an enumerator', group_at('CANOPY'), 'kdsEnumerator')
  expect('a comment', group_at('// A small'), 'kdsComment')

  -- Also where the screen begins inside of a comment.
  local last = vim.fn.line('$')
  local long = { '/*' }
  for _ = 1, 200 do
    long[#long + 1] = 'title = 1'
  end
  long[#long + 1] = '*/'
  vim.fn.append(last, long)
  vim.cmd('syntax clear | runtime syntax/kds.vim')
  expect('a line of a comment', vim.fn.synIDattr(vim.fn.synID(last + 150, 1, 1), 'name'), 'kdsComment')
  vim.fn.deletebufline('%', last + 1, '$')

  -- A right file has no diagnostics, a wrong one has its error where it is.
  local function diagnostics()
    return vim.diagnostic.get(0)
  end
  local line = vim.fn.search('level = CANOPY')
  local right = vim.fn.getline(line)
  vim.fn.setline(line, (right:gsub('CANOPY', 'CANOPI')))
  wait_for('an error', function()
    return #diagnostics() == 1
  end)
  local found = diagnostics()[1] or {}
  expect('the line of the error', found.lnum, line - 1)
  expect('its column', found.col, right:find('CANOPY') - 1)
  expect('its end', found.end_col, right:find('CANOPY') + 5)
  vim.fn.setline(line, right)
  wait_for('no error', function()
    return #diagnostics() == 0
  end)

  -- Completion of enumerators, and of members, of which those that are not written come first.
  local levels = labels(ask('textDocument/completion', 'CANOPY', 0))
  expect('a level', vim.tbl_contains(levels, 'SHRUB'), true)
  vim.fn.append(line, 'ro')
  local members = labels(ask('textDocument/completion', '\\^ro\\$', 2))
  expect('a member', vim.tbl_contains(members, 'rotation'), true)
  vim.fn.deletebufline('%', line + 1)

  -- Hover.
  local hover = ask('textDocument/hover', 'title =', 1)
  expect('a description', vim.inspect(hover):find('xstring') ~= nil, true)

  -- Rename to another member of the class.
  local edit = ask('textDocument/rename', 'rotation =', 1, { newName = 'nowhere' })
  expect('no such member', edit, nil)
  edit = ask('textDocument/rename', 'rotation =', 1, { newName = 'material' })
  expect('another member', edit ~= nil, true)

  -- Formatting gives a text one layout, however it was.
  vim.lsp.buf.format({ timeout_ms = 60000 })
  local formatted = vim.api.nvim_buf_get_lines(0, 0, -1, true)
  vim.fn.setline(2, '  garden.Plan   {')
  vim.fn.setline(3, 'title="Behind the house"')
  vim.lsp.buf.format({ timeout_ms = 60000 })
  expect('the layout', vim.api.nvim_buf_get_lines(0, 0, -1, true), formatted)
end

-- vim.lsp.buf.format came with 0.8.
vim.lsp.buf.format = vim.lsp.buf.format or function(options)
  vim.lsp.buf.formatting_sync(nil, options.timeout_ms)
end

local is_done, failure = pcall(run)
if not is_done then
  io.stderr:write(tostring(failure) .. '\n')
end
vim.cmd(is_done and failures == 0 and 'qall!' or 'cquit!')
