// Buttons that make requests of the bus. What can't be undone is asked first, in the server's words; the answer to that
// question goes along with the request.
let token = '';
const MOST_ANSWERS = 20;
const byId = (id) => document.getElementById(id);

async function post(path, body) {
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

async function press(request) {
  let confirmation = '';
  if (request.erases) {
    const question = await post('/confirm', { name: request.name });
    if (!question.ok) return note(request.label, question);
    if (!await ask(request.label, question.warns)) return;
    confirmation = question.confirmation;
  }
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
      await press(request);
      button.removeAttribute('aria-disabled');
    });
    return button;
  }));
}

export function setUpRequests(pageToken) {
  token = pageToken;
  byId('confirm-no').addEventListener('click', () => byId('confirm').close('no'));
  byId('confirm-yes').addEventListener('click', () => byId('confirm').close('yes'));
}
