-- The language server for data sources, one for all buffers:
--
--     require('kelmscript').setup({ modules = { '/home/ann/garden/build/libklGarden.so' } })
--
-- Settings: `server` (the tool; "kelmscript"), `modules`, `types`, `readingLimit`, as docs/editors.md tells them, and
-- `on_attach`, `capabilities`, as of other servers.

local M = {}

local client_id

local function attach(buffer, settings)
  if not client_id or not vim.lsp.get_client_by_id(client_id) then
    client_id = vim.lsp.start_client({
      name = 'kelmscript',
      cmd = { settings.server or 'kelmscript', 'lsp' },
      root_dir = vim.fn.getcwd(),
      init_options = { modules = settings.modules, types = settings.types, readingLimit = settings.readingLimit },
      on_attach = settings.on_attach,
      capabilities = settings.capabilities,
    })
  end
  if client_id then
    vim.lsp.buf_attach_client(buffer, client_id)
  end
end

function M.setup(settings)
  settings = settings or {}
  vim.api.nvim_create_autocmd('FileType', {
    pattern = 'kds',
    group = vim.api.nvim_create_augroup('kelmscript', {}),
    callback = function(event)
      attach(event.buf, settings)
    end,
  })
  -- Those that are open already.
  for _, buffer in ipairs(vim.api.nvim_list_bufs()) do
    if vim.api.nvim_buf_is_loaded(buffer) and vim.bo[buffer].filetype == 'kds' then
      attach(buffer, settings)
    end
  end
end

return M
