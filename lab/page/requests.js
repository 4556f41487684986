// Buttons that make requests of the bus. What can't be undone is asked first, in the server's words; the answer to that
// question goes along with the request.
let token = '';
let isAsking = false;
const MOST_ANSWERS = 20;
const byId = (id) => document.getElementById(id);

export async function post(path, body) {
  try {
    const response = await fetch(path, { method: 'POST', body: JSON.stringify(body),
      headers: { 'Content-Type': 'application/json', 'X-Orvane-Token': token } });
    return await response.json();
  } catch {
    return { ok: false, error: 'orvanectl serve does not answer' };
  }
}

function note(label, answer) {
  const row = document.createElement('li');
  row.className = answer.ok ? 'good' : 'bad';
  row.textContent = `${new Date().toLocaleTimeString('en-GB')} ${label}: ${answer.error || answer.text}`;
  const list = byId('answers');
  list.prepend(row);
  while (list.children.length > MOST_ANSWERS) list.lastElementChild.remove();
}

/// Waits for the person; Escape is a no.
function ask(label, warns) {
  const dialog = byId('confirm');
  byId('confirm-title').textContent = `${label}?`;
  byId('confirm-words').textContent = warns;
  byId('confirm-yes').textContent = label;
  dialog.returnValue = '';
  dialog.showModal();
  byId('confirm-no').focus();
  return new Promise((resolve) => {
    dialog.addEventListener('close', () => resolve(dialog.returnValue === 'yes'), { once: true });
  });
}

/// The confirmation of the person; nothing without a yes. There is one dialog, so one question is asked at a time: a yes is
/// for what stands in it.
async function confirmed(request) {
  if (isAsking) return undefined;
  isAsking = true;
  try {
    const question = await post('/confirm', { name: request.name });
    if (question.ok) return await ask(request.label, question.warns) ? question.confirmation : undefined;
    note(request.label, question);
    return undefined;
  } finally {
    isAsking = false;
  }
}

async function press(request) {
  const confirmation = request.erases ? await confirmed(request) : '';
  if (confirmation === undefined) return;
  note(request.label, await post('/request', { name: request.name, confirmation }));
}

export function showButtons(requests) {
  const place = document.querySelector('#requests .buttons');
  place.replaceChildren(...requests.map((request) => {
    const button = document.createElement('button');
    button.type = 'button';
    button.textContent = request.label;
    button.dataset.name = request.name;
    if (request.erases) button.className = 'erases';
    button.addEventListener('click', async () => {
      // It stays in reach of the keyboard while its request is under way.
      if (button.getAttribute('aria-disabled') === 'true') return;
      button.setAttribute('aria-disabled', 'true');
      try {
        await press(request);
      } finally {
        button.removeAttribute('aria-disabled');
      }
    });
    return button;
  }));
}

export function setUpRequests(pageToken) {
  token = pageToken;
  byId('confirm-no').addEventListener('click', () => byId('confirm').close('no'));
  byId('confirm-yes').addEventListener('click', () => byId('confirm').close('yes'));
}
